// SPDX-License-Identifier: Apache-2.0
// The operations on alerts.
#include "client/ClientParts.h"

namespace velto::alerts {

Outcome<void> Client::postAlert(const Alert& alert, const CallOptions& options) {
  return parts_->change("PostAlert", CallText().add("alert", alert), options);
}

Outcome<void> Client::saveAlerts(const std::vector<Alert>& alerts, const CallOptions& options) {
  return parts_->change("SaveAlerts", CallText().add("alerts", alerts), options);
}

Outcome<void> Client::markAlertAsReadWithAlertId(const std::string& identifier,
                                                 const CallOptions& options) {
  return parts_->change("MarkAlertAsReadWithAlertId", CallText().add("alertId", identifier),
                        options);
}

Outcome<void> Client::markAlertAsResolvedWithAlertId(const std::string& identifier,
                                                     const CallOptions& options) {
  return parts_->change("MarkAlertAsResolvedWithAlertId", CallText().add("alertId", identifier),
                        options);
}

Outcome<void> Client::performRecoveryAction(const std::string& action,
                                            const std::string& identifier,
                                            const CallOptions& options) {
  return parts_->change("PerformRecoveryAction",
                        CallText().add("action", action).add("alertId", identifier), options);
}

Outcome<std::vector<Alert>> Client::getAlertsFromDate(std::optional<Date> from,
                                                      std::optional<Date> to,
                                                      const CallOptions& options) {
  return parts_->list("GetAlertsFromDate", CallText().add("fromDate", from).add("toDate", to),
                      options);
}

Outcome<void> Client::getAlertsFromDate(std::optional<Date> from, std::optional<Date> to,
                                        const AlertReceiver& receiver, const CallOptions& options) {
  return parts_->list("GetAlertsFromDate", CallText().add("fromDate", from).add("toDate", to),
                      receiver, options);
}

Outcome<std::vector<Alert>> Client::getAlertsOfType(const std::optional<std::string>& type,
                                                    const CallOptions& options) {
  return parts_->list("GetAlertsOfType", CallText().add("type", type), options);
}

Outcome<void> Client::getAlertsOfType(const std::optional<std::string>& type,
                                      const AlertReceiver& receiver, const CallOptions& options) {
  return parts_->list("GetAlertsOfType", CallText().add("type", type), receiver, options);
}

Outcome<std::vector<Alert>> Client::getAlertsOfBundle(const std::optional<std::string>& bundle,
                                                      const CallOptions& options) {
  return parts_->list("GetAlertsOfBundle", CallText().add("bundle", bundle), options);
}

Outcome<void> Client::getAlertsOfBundle(const std::optional<std::string>& bundle,
                                        const AlertReceiver& receiver, const CallOptions& options) {
  return parts_->list("GetAlertsOfBundle", CallText().add("bundle", bundle), receiver, options);
}

Outcome<Alert> Client::getLastAlertOfType(const std::optional<std::string>& type,
                                          const CallOptions& options) {
  return parts_->ask<Alert>(Effect::kReads, "GetLastAlertOfType", CallText().add("type", type),
                            "alert", options);
}

Outcome<Alert> Client::getLastAlertOfBundle(const std::optional<std::string>& bundle,
                                            const CallOptions& options) {
  return parts_->ask<Alert>(Effect::kReads, "GetLastAlertOfBundle",
                            CallText().add("bundle", bundle), "alert", options);
}

Outcome<std::int64_t> Client::deleteAlertsBeforeDate(Date date, const CallOptions& options) {
  return parts_->ask<std::int64_t>(Effect::kChanges, "DeleteAlertsBeforeDate",
                                   CallText().add("date", date), "count", options);
}

Outcome<void> Client::deleteAlertsWithIds(const std::vector<std::string>& identifiers,
                                          const CallOptions& options) {
  return parts_->change("DeleteAlertsWithIds", CallText().add("alertIds", identifiers), options);
}

Outcome<std::int64_t> Client::deleteUnsupportedAlerts(const CallOptions& options) {
  CallText none;
  return parts_->ask<std::int64_t>(Effect::kChanges, "DeleteUnsupportedAlerts", none, "count",
                                   options);
}

}  // namespace velto::alerts
