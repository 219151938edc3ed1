// SPDX-License-Identifier: Apache-2.0
// Finding out which alerts have been resolved.

#include "alerts/VLAlertAction.h"
#include "daemon/AlertsDaemon.h"
#include "daemon/LatestError.h"
#include "store/ADAlertStore.h"

namespace velto {

std::optional<std::vector<VLAlert>> AlertsDaemon::updateUnresolvedAlerts(
    ADAlertStore& store, std::optional<Error>& error) const {
  const auto alerts = store.getRecoverableAlertSubclasses(&error);
  if (error) {
    return std::nullopt;
  }
  std::vector<VLAlert> resolved;
  for (const auto& alert : alerts) {
    VLAlert current = VLAlert::alertWithAlert(*alert);
    for (const std::string& option : alert->recoveryOptions()) {
      if (hasBeenResolved(option, current, error)) {
        current.resolvedDate = services_.clock.now();
        withLatestError(error, [&](ErrorSlot slot) { return store.updateAlert(current, slot); });
        resolved.push_back(current);
      }
    }
  }
  if (!resolved.empty()) {
    store.save(&error);
  }
  return resolved;
}

bool AlertsDaemon::hasBeenResolved(const std::string& option, const VLAlert& alert,
                                   std::optional<Error>& error) const {
  const auto action = withLatestError(
      error, [&](ErrorSlot slot) { return services_.bundles.alertAction(option, alert, slot); });
  return action != nullptr && action->hasBeenResolved();
}

std::vector<VLAlert> AlertsDaemon::removeSubclasses(
    const std::vector<std::unique_ptr<VLAlertSubclass>>& alerts) {
  std::vector<VLAlert> plain;
  plain.reserve(alerts.size());
  for (const auto& alert : alerts) {
    plain.push_back(VLAlert::alertWithAlert(*alert));
  }
  return plain;
}

}  // namespace velto
