// SPDX-License-Identifier: Apache-2.0
#include "tools/alerts/Posting.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "tools/text/Message.h"
#include "tools/text/Printable.h"

namespace velto {
namespace {

/// Errors of these are told after the alert is on disk.
constexpr std::array<std::string_view, 3> kDeliveryDomains = {
    "VeltoAlertsMailer", "UlmoraPushProvider", "UlmoraPushServiceProvider"};

bool isOfDelivery(const alerts::Error& error) {
  return error.kind == alerts::ErrorKind::kService &&
         std::find(kDeliveryDomains.begin(), kDeliveryDomains.end(), error.domain) !=
             kDeliveryDomains.end();
}

/// The device that the push gateway last gave this status for, from "NAME: STATUS ANSWER"; empty
/// without one.
std::string refusedDevice(Session& session, std::int64_t status) {
  const auto state = session.client().getStatus();
  if (!state.value) return {};
  for (const alerts::Channel& channel : state.value->channels) {
    const std::string last = channel.lastError.value_or("");
    const auto end = last.find(fmt::format(": {} ", status));
    if (channel.name == alerts::ChannelName::kPush && end != std::string::npos)
      return last.substr(0, end);
  }
  return {};
}

}  // namespace

Failure failureOfDelivery(Session& session, const alerts::Error& error) {
  Failure failure = failureOf(error);
  const std::string device =
      error.domain == "UlmoraPushProvider" ? refusedDevice(session, error.code) : "";
  if (!device.empty()) {
    failure.advice = say("it was for the device {}; {}", printable(device), failure.advice);
  }
  return failure;
}

Posted post(Session& session, alerts::Alert alert) {
  Posted posted{.identifier = alerts::makeIdentifier()};
  alert.identifier = posted.identifier;
  alert.creationDate = session.now();
  posted.error = session.client().postAlert(alert).error;
  posted.isStored = !posted.error || isOfDelivery(*posted.error);
  return posted;
}

}  // namespace velto
