// SPDX-License-Identifier: Apache-2.0
#include "tools/service/StatusCall.h"

#include "platform/connection/JSONReader.h"
#include "tools/text/Message.h"
#include "tools/text/Printable.h"

namespace velto {
namespace {

constexpr double kLately = 3600;

}  // namespace

bool hasFailedLately(const Session& session, const alerts::Channel& channel) {
  return channel.lastFailure &&
         session.now().secondsSince2001() - channel.lastFailure->secondsSince2001() < kLately;
}

std::vector<std::string> problemsOf(const Session& session, const alerts::Status& status) {
  std::vector<std::string> problems;
  if (!status.store.usable) {
    problems.push_back(
        say("the store is not usable: {}; mend that, then systemctl restart velto-alerts",
            printable(status.store.problem.value_or("?"))));
  }
  for (const alerts::Channel& channel : status.channels) {
    if (!hasFailedLately(session, channel)) continue;
    const bool isMail = channel.name == alerts::ChannelName::kMail;
    problems.push_back(isMail
                           ? tr("mail has failed within the last hour; see alertsctl deliveries")
                           : tr("push has failed within the last hour; see alertsctl deliveries"));
  }
  return problems;
}

std::string daemonVersion(Session& session) {
  const alerts::CallOptions options{.timeLimit = kStatusTimeLimit};
  const auto reply = session.client().call("org.varlink.service.GetInfo", "", options);
  const auto info = reply.value ? readJSON(*reply.value) : std::nullopt;
  const auto* version =
      info && info->is_object() ? info->as_object().if_contains("version") : nullptr;
  return version != nullptr && version->is_string() ? std::string(version->as_string()) : "?";
}

}  // namespace velto
