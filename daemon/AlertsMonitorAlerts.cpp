// SPDX-License-Identifier: Apache-2.0
// The stored alerts, as tools page through them, look at them and count them.

#include <utility>

#include "daemon/AlertsMonitor.h"
#include "store/ADAlertStore.h"
#include "store/AlertHistory.h"
#include "store/AlertPages.h"

namespace velto {
namespace {

constexpr std::int64_t kUsualLimit = 100;
constexpr std::int64_t kMostAlerts = 1000;

CallReply noStore(const StoreContainer& stores) {
  return storeUnavailable(makeError(kPersistenceErrorDomain, kNoStoreErrorCode,
                                    stores.problem().value_or("there is no store")));
}

/// What the bundle says of each alert in the language; nothing where it cannot.
std::vector<MonitorItem> itemsOf(std::vector<VLAlert> alerts,
                                 const std::optional<std::string>& locale,
                                 AlertBundleRegistry& bundles) {
  std::vector<MonitorItem> items;
  items.reserve(alerts.size());
  for (VLAlert& alert : alerts) {
    const auto object = locale ? bundles.alertSubclass(alert, nullptr) : nullptr;
    auto subject = object == nullptr ? std::nullopt : object->subject(*locale);
    items.push_back({std::move(alert), std::move(subject)});
  }
  return items;
}

/// All that are offered, also one that cannot be had: whoever asks for it is told why.
std::vector<MonitorAction> actionsOf(const VLAlertSubclass& object, const std::string& locale,
                                     AlertBundleRegistry& bundles) {
  std::vector<MonitorAction> actions;
  for (std::string& name : object.recoveryOptions()) {
    const auto action = bundles.alertAction(name, object.alert(), nullptr);
    std::string title = action == nullptr ? name : action->title(locale);
    actions.push_back({std::move(name), std::move(title)});
  }
  return actions;
}

}  // namespace

MonitorOutcome<MonitorPage> AlertsMonitor::list(const MonitorListQuery& query) {
  if (!isPermitted_) return monitorNotPermitted();
  const std::int64_t limit = query.limit.value_or(kUsualLimit);
  if (limit < 1 || limit > kMostAlerts) return CallReply::invalidParameter("limit");
  const auto after = query.after ? placeFromPosition(*query.after) : std::nullopt;
  if (query.after && !after) return invalidPosition();
  const auto coordinator = services_.stores.persistentStoreCoordinator();
  if (coordinator == nullptr) return noStore(services_.stores);
  std::optional<Error> error;
  auto page = listAlerts(coordinator, query.filter, after, static_cast<std::size_t>(limit), &error);
  if (!page) return storeUnavailable(*error);
  return MonitorPage{itemsOf(std::move(page->alerts), query.locale, services_.bundles),
                     std::move(page->next)};
}

MonitorOutcome<MonitorAlert> AlertsMonitor::getAlert(const std::string& identifier,
                                                     const std::optional<std::string>& locale) {
  if (!isPermitted_) return monitorNotPermitted();
  std::optional<Error> error;
  auto alert = ADAlertStore(services_.stores).getAlertWithIdentifier(identifier, &error);
  if (error) return storeUnavailable(*error);
  if (!alert) return noSuchAlert(identifier);
  MonitorAlert reply{.alert = *std::move(alert)};
  if (const auto object = services_.bundles.alertSubclass(reply.alert, nullptr)) {
    const std::string language =
        locale.value_or(services_.stores.languages().preferredLocalizationIdentifier());
    reply.subject = object->subject(language);
    reply.message = object->message(language);
    reply.actions = actionsOf(*object, language, services_.bundles);
  }
  return reply;
}

MonitorOutcome<MonitorHistory> AlertsMonitor::getHistory(Date from, Date to, double step) {
  if (!isPermitted_) return monitorNotPermitted();
  const auto steps = HistorySteps::make(from, to, step);
  if (!steps) return CallReply::invalidParameter("step");
  const auto coordinator = services_.stores.persistentStoreCoordinator();
  if (coordinator == nullptr) return noStore(services_.stores);
  std::optional<Error> error;
  auto history = alertHistory(*coordinator, *steps, &error);
  if (!history) return storeUnavailable(*error);
  return *std::move(history);
}

}  // namespace velto
