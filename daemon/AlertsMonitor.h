// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "daemon/AlertsDaemon.h"
#include "daemon/StoreWatch.h"
#include "delivery/DeliveryCounts.h"
#include "platform/connection/ServiceCounts.h"
#include "protocol/VLAlertsMonitor.h"

namespace velto {

/// What the objects of all connections work with beside the other services. Every part may be used
/// from any thread and outlives the objects.
struct AlertsMonitorServices {
  StoreWatch& watch;
  const DeliveryCounts& deliveries;
  Date startDate;
};

/// The second object that a connection exports: what administrators' tools watch. Whoever was not
/// admitted as one is told so by every method. Keeps nothing between calls, so calls may come from
/// any thread.
class AlertsMonitor : public VLAlertsMonitor {
 public:
  /// All of it outlives the object, which there is one of for each connection.
  AlertsMonitor(const AlertsDaemonServices& services, const AlertsMonitorServices& watching,
                const ServiceCounts& connections, bool isPermitted)
      : services_(services),
        watching_(watching),
        connections_(connections),
        isPermitted_(isPermitted) {}

  MonitorOutcome<MonitorStatus> getStatus() override;
  MonitorOutcome<MonitorPage> list(const MonitorListQuery& query) override;
  MonitorOutcome<MonitorAlert> getAlert(const std::string& identifier,
                                        const std::optional<std::string>& locale) override;
  MonitorOutcome<MonitorHistory> getHistory(Date from, Date to, double step) override;
  MonitorOutcome<std::unique_ptr<ReplyStream>> follow(std::optional<std::string> bundle,
                                                      std::optional<std::string> type) override;

 private:
  MonitorStore storeStatus(PersistentStoreCoordinator* coordinator) const;
  MonitorChannel channelStatus(std::string_view name) const;

  const AlertsDaemonServices& services_;
  const AlertsMonitorServices& watching_;
  const ServiceCounts& connections_;
  const bool isPermitted_;
};

}  // namespace velto
