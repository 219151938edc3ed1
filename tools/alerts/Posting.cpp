// SPDX-License-Identifier: Apache-2.0
#include "tools/alerts/Posting.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

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

}  // namespace

Posted post(Session& session, alerts::Alert alert) {
  Posted posted{.identifier = alerts::makeIdentifier()};
  alert.identifier = posted.identifier;
  alert.creationDate = session.now();
  posted.error = session.client().postAlert(alert).error;
  posted.isStored = !posted.error || isOfDelivery(*posted.error);
  return posted;
}

}  // namespace velto
