// SPDX-License-Identifier: Apache-2.0
// Queries of stored alerts. A caller with a list of bundles sees the alerts of those bundles only.

#include <utility>

#include "daemon/AlertsDaemon.h"
#include "store/ADAlertStore.h"

namespace velto {

void AlertsDaemon::getAlertsFromDate(std::optional<Date> from, std::optional<Date> to,
                                     Reply<AlertSequence> reply) {
  asRoot(reply, [&](ADAlertStore& store, std::optional<Error>& error) {
    std::optional<Error> updateError;
    auto resolved = updateUnresolvedAlerts(store, updateError);
    if (updateError) {
      services_.log.warning("UpdateUnresolvedAlerts: " + updateError->localizedDescription());
    }
    AlertSequence alerts = store.alertsFromDate(from, to, &error);
    if (resolved) {
      // What has just been resolved is news, whatever the period, and stands at the end.
      alerts.append(*std::move(resolved));
    }
    return alerts;
  });
}

void AlertsDaemon::getAlertsOfType(std::optional<std::string> type, Reply<AlertSequence> reply) {
  if (!isUnrestricted() && !hasBundles()) {
    reply(std::nullopt, privilegeError());
    return;
  }
  ADAlertStore store(services_.stores);
  std::optional<Error> error;
  AlertSequence alerts = store.alertsOfType(type, &error);
  // A type belongs to one bundle, so the first alert stands for all.
  const VLAlert* first = alerts.current(&error);
  if (!isUnrestricted() && first != nullptr && !isEntitledTo(first->bundle)) {
    reply(std::nullopt, privilegeError());
    return;
  }
  reply(std::move(alerts), std::move(error));
}

void AlertsDaemon::getAlertsOfBundle(std::optional<std::string> bundle,
                                     Reply<AlertSequence> reply) {
  if (!isUnrestricted() && !isEntitledTo(bundle)) {
    reply(std::nullopt, privilegeError());
    return;
  }
  ADAlertStore store(services_.stores);
  std::optional<Error> error;
  AlertSequence alerts = store.alertsOfBundle(bundle, &error);
  reply(std::move(alerts), std::move(error));
}

void AlertsDaemon::getLastAlertOfType(std::optional<std::string> type, Reply<VLAlert> reply) {
  if (!isUnrestricted() && !hasBundles()) {
    reply(std::nullopt, privilegeError());
    return;
  }
  ADAlertStore store(services_.stores);
  std::optional<Error> error;
  auto alert = store.getLastAlertOfType(type, &error);
  if (!isUnrestricted() && alert && !isEntitledTo(alert->bundle)) {
    reply(std::nullopt, privilegeError());
    return;
  }
  reply(std::move(alert), std::move(error));
}

void AlertsDaemon::getLastAlertOfBundle(std::optional<std::string> bundle, Reply<VLAlert> reply) {
  if (!isUnrestricted() && !isEntitledTo(bundle)) {
    reply(std::nullopt, privilegeError());
    return;
  }
  ADAlertStore store(services_.stores);
  std::optional<Error> error;
  auto alert = store.getLastAlertOfBundle(bundle, &error);
  reply(std::move(alert), std::move(error));
}

}  // namespace velto
