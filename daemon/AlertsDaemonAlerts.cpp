// Queries of stored alerts. A caller with a list of bundles sees the alerts of those bundles only.

#include <utility>

#include "daemon/AlertsDaemon.h"
#include "store/ADAlertStore.h"

namespace velto {

void AlertsDaemon::getAlertsOfType(std::optional<std::string> type,
                                   Reply<std::vector<VLAlert>> reply) {
  if (!isUnrestricted() && !hasBundles()) {
    reply(std::nullopt, privilegeError());
    return;
  }
  ADAlertStore store(services_.stores);
  std::optional<Error> error;
  auto alerts = store.getAlertsOfType(type, &error);
  // A type belongs to one bundle, so the first alert stands for all.
  if (!isUnrestricted() && !alerts.empty() && !isEntitledTo(alerts.front().bundle)) {
    reply(std::nullopt, privilegeError());
    return;
  }
  reply(std::move(alerts), std::move(error));
}

void AlertsDaemon::getAlertsOfBundle(std::optional<std::string> bundle,
                                     Reply<std::vector<VLAlert>> reply) {
  if (!isUnrestricted() && !isEntitledTo(bundle)) {
    reply(std::nullopt, privilegeError());
    return;
  }
  ADAlertStore store(services_.stores);
  std::optional<Error> error;
  auto alerts = store.getAlertsOfBundle(bundle, &error);
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
