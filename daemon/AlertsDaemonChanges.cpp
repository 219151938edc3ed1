// SPDX-License-Identifier: Apache-2.0
// What happens to stored alerts: they are read, resolved, acted on and deleted.

#include <utility>

#include "alerts/AlertBundleErrors.h"
#include "alerts/VLAlertAction.h"
#include "daemon/AlertsDaemon.h"
#include "store/ADAlertStore.h"

namespace velto {
namespace {

/// Bundles whose alerts nothing can be done about any more.
constexpr const char* kUnsupportedBundles[] = {"Brennic", "Tamsel"};

}  // namespace

void AlertsDaemon::markAlertAsReadWithAlertId(std::optional<std::string> alertId,
                                              ErrorReply reply) {
  mark(alertId, &VLAlert::readDate, reply);
}

void AlertsDaemon::markAlertAsResolvedWithAlertId(std::optional<std::string> alertId,
                                                  ErrorReply reply) {
  mark(alertId, &VLAlert::resolvedDate, reply);
}

void AlertsDaemon::mark(const std::optional<std::string>& alertId,
                        std::optional<Date> VLAlert::*date, const ErrorReply& reply) {
  asRoot(reply, [&](ADAlertStore& store, std::optional<Error>& error) {
    auto alert = store.getAlertWithIdentifier(alertId, &error);
    if (error) {
      return;
    }
    if (alert) {
      (*alert).*date = services_.clock.now();
    }
    store.updateAlert(alert, &error);
    store.save(nullptr);
  });
}

void AlertsDaemon::performRecoveryAction(std::optional<std::string> action,
                                         std::optional<std::string> alertId, ErrorReply reply) {
  asRoot(reply, [&](ADAlertStore& store, std::optional<Error>& error) {
    auto alert = store.getAlertWithIdentifier(alertId, &error);
    if (error) {
      return;
    }
    if (!alert) {
      error = makeError(kBundleErrorDomain, kNoAlertErrorCode,
                        "There is no alert '" + alertId.value_or("(null)") + "' to act on.");
      return;
    }
    recover(action.value_or(""), *alert, store, error);
  });
}

/// Runs the action; the alert counts as resolved when it is done.
void AlertsDaemon::recover(const std::string& action, VLAlert& alert, ADAlertStore& store,
                           std::optional<Error>& error) const {
  const auto recovery = services_.bundles.alertAction(action, alert, &error);
  if (error || !recovery->runWithLocalization(
                   services_.stores.languages().preferredLocalizationIdentifier(), &error)) {
    return;
  }
  alert.resolvedDate = services_.clock.now();
  store.updateAlert(alert, &error);
  store.save(nullptr);
}

void AlertsDaemon::deleteAlertsBeforeDate(std::optional<Date> date, Reply<std::int64_t> reply) {
  asRoot(reply, [&](ADAlertStore& store, std::optional<Error>& error) {
    const auto count = store.deleteAlertsBeforeDate(date, &error);
    store.save(nullptr);
    return static_cast<std::int64_t>(count);
  });
}

void AlertsDaemon::deleteAlertsWithIds(std::optional<std::vector<std::string>> alertIds,
                                       ErrorReply reply) {
  asRoot(reply, [&](ADAlertStore& store, std::optional<Error>& error) {
    if (store.deleteAlertsWithIds(std::move(alertIds).value_or(std::vector<std::string>()),
                                  &error) != 0) {
      store.save(nullptr);
    }
  });
}

void AlertsDaemon::deleteUnsupportedAlerts(Reply<std::uint64_t> reply) {
  if (!isRoot()) {
    reply(0, privilegeError());
    return;
  }
  asRoot(reply, [&](ADAlertStore& store, std::optional<Error>& error) {
    const auto count = store.deleteAlertsWithBundleIDs(
        {std::begin(kUnsupportedBundles), std::end(kUnsupportedBundles)}, &error);
    if (count != 0) {
      store.save(nullptr);
    }
    return count;
  });
}

}  // namespace velto
