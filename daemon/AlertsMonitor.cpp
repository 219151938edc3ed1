// SPDX-License-Identifier: Apache-2.0
// The state of the service, and its changes.

#include "daemon/AlertsMonitor.h"

#include <sys/stat.h>
#include <utility>

namespace velto {
namespace {

/// In bytes; 0 where there is no such file.
std::int64_t sizeOf(const std::string& path) {
  struct stat status {};
  return ::stat(path.c_str(), &status) == 0 ? status.st_size : 0;
}

std::optional<std::string> descriptionOf(const std::optional<Error>& error) {
  return error ? std::optional(error->localizedDescription()) : std::nullopt;
}

}  // namespace

/// Says as much as can be found out, most of all when something is wrong.
MonitorOutcome<MonitorStatus> AlertsMonitor::getStatus() {
  if (!isPermitted_) return monitorNotPermitted();
  const auto coordinator = services_.stores.persistentStoreCoordinator();
  MonitorStatus status{.version = std::string(alertsMonitorProtocol().version),
                       .startDate = watching_.startDate,
                       .store = storeStatus(coordinator.get()),
                       .channels = {channelStatus("mail"), channelStatus("push")},
                       .connections = connections_.connections,
                       .calls = connections_.calls,
                       .served = connections_.served};
  if (coordinator == nullptr) return status;
  std::optional<Error> error;
  const auto counts = watching_.watch.counts.get(*coordinator, &error);
  status.counts = counts.value_or(MonitorCounts());
  if (!counts && !status.store.problem) {
    status.store.usable = false;
    status.store.problem = descriptionOf(error);
  }
  return status;
}

MonitorStore AlertsMonitor::storeStatus(PersistentStoreCoordinator* coordinator) const {
  MonitorStore store{.path = services_.stores.storePath()};
  store.size = sizeOf(store.path);
  store.logSize = sizeOf(store.path + "-wal");
  if (coordinator == nullptr) {
    store.problem = services_.stores.problem();
    return store;
  }
  store.problem = descriptionOf(coordinator->refusal());
  store.usable = !store.problem;
  store.freeSize = coordinator->freeSize().value_or(0);
  const SaveCounts saves = coordinator->saveCounts();
  store.saves = saves.all;
  store.failedSaves = saves.failed;
  return store;
}

MonitorChannel AlertsMonitor::channelStatus(std::string_view name) const {
  const ChannelCounts counts = watching_.deliveries.of(name);
  return {.name = std::string(name),
          .delivered = counts.delivered,
          .failed = counts.failed,
          .pending = counts.pending,
          .lastFailure = counts.lastFailure,
          .lastError = counts.lastError};
}

MonitorOutcome<std::unique_ptr<ReplyStream>> AlertsMonitor::follow(
    std::optional<std::string> bundle, std::optional<std::string> type) {
  if (!isPermitted_) return monitorNotPermitted();
  return watching_.watch.feed.follow({.bundle = std::move(bundle), .type = std::move(type)});
}

}  // namespace velto
