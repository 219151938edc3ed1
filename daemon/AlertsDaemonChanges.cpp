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
  mark(alertId, &ADAlertStore::markAlertAsRead, reply);
}

void AlertsDaemon::markAlertAsResolvedWithAlertId(std::optional<std::string> alertId,
                                                  ErrorReply reply) {
  mark(alertId, &ADAlertStore::markAlertAsResolved, reply);
}

void AlertsDaemon::mark(const std::optional<std::string>& alertId, Mark set,
                        const ErrorReply& reply) {
  changeAsRoot(reply, SaveFailure::kNotTold, [&](ADAlertStore& store, std::optional<Error>& error) {
    return (store.*set)(alertId, services_.clock.now(), &error);
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
    recover(action.value_or(""), *alert, error);
  });
}

/// Runs the action; the alert counts as resolved when it is done. Meanwhile others may have changed
/// the record, or deleted it: what is saved is a date on the record as it is then.
void AlertsDaemon::recover(const std::string& action, const VLAlert& alert,
                           std::optional<Error>& error) const {
  const auto recovery = services_.bundles.alertAction(action, alert, &error);
  if (error || !recovery->runWithLocalization(
                   services_.stores.languages().preferredLocalizationIdentifier(), &error)) {
    return;
  }
  const Date now = services_.clock.now();
  change(error, SaveFailure::kNotTold, [&](ADAlertStore& store, std::optional<Error>& slot) {
    return store.resolveAlert(alert, now, &slot);
  });
}

void AlertsDaemon::deleteAlertsBeforeDate(std::optional<Date> date, Reply<std::int64_t> reply) {
  if (!isRoot()) {
    reply(std::nullopt, privilegeError());
    return;
  }
  std::uint64_t count = 0;
  std::optional<Error> error;
  change(error, SaveFailure::kNotTold, [&](ADAlertStore& store, std::optional<Error>& slot) {
    count = store.deleteAlertsBeforeDate(date, &slot);
    return true;
  });
  reply(static_cast<std::int64_t>(count), std::move(error));
}

void AlertsDaemon::deleteAlertsWithIds(std::optional<std::vector<std::string>> alertIds,
                                       ErrorReply reply) {
  const AlertIdentifiers identifiers(std::move(alertIds).value_or(std::vector<std::string>()));
  changeAsRoot(reply, SaveFailure::kNotTold, [&](ADAlertStore& store, std::optional<Error>& error) {
    return store.deleteAlertsWithIds(identifiers, &error) != 0;
  });
}

void AlertsDaemon::deleteUnsupportedAlerts(Reply<std::uint64_t> reply) {
  if (!isRoot()) {
    reply(0, privilegeError());
    return;
  }
  std::uint64_t count = 0;
  std::optional<Error> error;
  change(error, SaveFailure::kNotTold, [&](ADAlertStore& store, std::optional<Error>& slot) {
    count = store.deleteAlertsWithBundleIDs(
        {std::begin(kUnsupportedBundles), std::end(kUnsupportedBundles)}, &slot);
    return count != 0;
  });
  reply(count, std::move(error));
}

}  // namespace velto
