// Finding out which alerts have been resolved.

#include <utility>

#include "daemon/AlertsDaemon.h"
#include "platform/foundation/VLAlertAction.h"
#include "store/ADAlertStore.h"

namespace velto {
namespace {

/// The slot shows the last failure.
void report(std::optional<Error> failure, ErrorSlot error) {
  if (failure) {
    replaceError(error, *std::move(failure));
  }
}

}  // namespace

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
        std::optional<Error> failure;
        current.resolvedDate = services_.clock.now();
        store.updateAlert(current, &failure);
        report(std::move(failure), &error);
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
  std::optional<Error> failure;
  const auto action = services_.bundles.alertAction(option, alert, &failure);
  report(std::move(failure), &error);
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
