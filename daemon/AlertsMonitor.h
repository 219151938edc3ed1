// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "daemon/AlertsDaemon.h"
#include "protocol/VLAlertsMonitor.h"

namespace velto {

/// The second object that a connection exports: what administrators' tools watch. Whoever was not
/// admitted as one is told so by every method. Keeps nothing between calls, so calls may come from
/// any thread.
class AlertsMonitor : public VLAlertsMonitor {
 public:
  AlertsMonitor(const AlertsDaemonServices& services, bool isPermitted)
      : services_(services), isPermitted_(isPermitted) {}

  MonitorOutcome<MonitorPage> list(const MonitorListQuery& query) override;
  MonitorOutcome<MonitorAlert> getAlert(const std::string& identifier,
                                        const std::optional<std::string>& locale) override;
  MonitorOutcome<MonitorHistory> getHistory(Date from, Date to, double step) override;

 private:
  const AlertsDaemonServices services_;
  const bool isPermitted_;
};

}  // namespace velto
