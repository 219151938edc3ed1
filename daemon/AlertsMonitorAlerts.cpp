// SPDX-License-Identifier: Apache-2.0
// The stored alerts, as tools page through them, look at them and count them.

#include "daemon/AlertsMonitor.h"

namespace velto {

MonitorOutcome<MonitorPage> AlertsMonitor::list(const MonitorListQuery& query) {
  if (!isPermitted_) return monitorNotPermitted();
  return VLAlertsMonitor::list(query);
}

MonitorOutcome<MonitorAlert> AlertsMonitor::getAlert(const std::string& identifier,
                                                     const std::optional<std::string>& locale) {
  if (!isPermitted_) return monitorNotPermitted();
  return VLAlertsMonitor::getAlert(identifier, locale);
}

MonitorOutcome<MonitorHistory> AlertsMonitor::getHistory(Date from, Date to, double step) {
  if (!isPermitted_) return monitorNotPermitted();
  return VLAlertsMonitor::getHistory(from, to, step);
}

}  // namespace velto
