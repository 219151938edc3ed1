// SPDX-License-Identifier: Apache-2.0
// Finding out which alerts have been resolved.

#include <algorithm>
#include <set>
#include <utility>

#include "alerts/VLAlertAction.h"
#include "daemon/AlertsDaemon.h"
#include "daemon/LatestError.h"
#include "store/ADAlertStore.h"

namespace velto {

std::optional<std::vector<VLAlert>> AlertsDaemon::updateUnresolvedAlerts(
    ADAlertStore& store, std::optional<Error>& error) const {
  AlertSequence alerts = store.recoverableAlerts(&error);
  if (error) {
    return std::nullopt;
  }
  std::vector<ResolvedAlert> resolved;
  const auto next = [&] {
    return withLatestError(error, [&](ErrorSlot slot) { return alerts.current(slot); });
  };
  while (const VLAlert* alert = next()) {
    if (auto dates = datesOfResolution(*alert, error); !dates.empty()) {
      resolved.push_back({*alert, std::move(dates)});
    }
    alerts.advance();
  }
  return saveResolved(resolved, error);
}

/// One for each action that says so; none of an alert that others have resolved by now.
std::vector<Date> AlertsDaemon::datesOfResolution(const VLAlert& alert,
                                                  std::optional<Error>& error) const {
  if (alert.resolvedDate) {
    return {};
  }
  const auto object = withLatestError(
      error, [&](ErrorSlot slot) { return services_.bundles.alertSubclass(alert, slot); });
  const auto options = object == nullptr ? std::vector<std::string>() : object->recoveryOptions();
  VLAlert current = alert;
  std::vector<Date> dates;
  for (const std::string& option : options) {
    if (hasBeenResolved(option, current, error)) {
      dates.push_back(services_.clock.now());
      current.resolvedDate = dates.back();
    }
  }
  return dates;
}

/// Sets the dates on the records as they are now, since asking may have taken minutes, a few
/// records at a time, so that nobody else waits long. Returns the alerts once for each date, but
/// for those that are gone by now or that others have resolved.
std::vector<VLAlert> AlertsDaemon::saveResolved(std::span<const ResolvedAlert> resolved,
                                                std::optional<Error>& error) const {
  constexpr std::size_t kFew = 500;
  std::vector<VLAlert> saved;
  while (!resolved.empty()) {
    const auto few = resolved.first(std::min(kFew, resolved.size()));
    resolved = resolved.subspan(few.size());
    std::vector<VLAlert> stamped;
    auto failure = saveSettled(services_.stores, [&](ADAlertStore& store) {
      stamped = stampedAlerts(few, store);
      return !stamped.empty();
    });
    if (failure) {
      error = std::move(failure);
    }
    std::move(stamped.begin(), stamped.end(), std::back_inserter(saved));
  }
  return saved;
}

std::vector<VLAlert> AlertsDaemon::stampedAlerts(std::span<const ResolvedAlert> resolved,
                                                 ADAlertStore& store) {
  std::vector<VLAlert> stamped;
  // Alerts may share an identifier, and with it the one record that it finds.
  std::set<std::optional<std::string>> known;
  for (const auto& [alert, dates] : resolved) {
    if (known.contains(alert.identifier) || store.resolveAlert(alert, dates.back(), nullptr)) {
      known.insert(alert.identifier);
      for (const Date date : dates) {
        stamped.push_back(alert);
        stamped.back().resolvedDate = date;
      }
    }
  }
  return stamped;
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
