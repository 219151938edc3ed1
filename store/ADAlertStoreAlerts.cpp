// SPDX-License-Identifier: Apache-2.0
// The alert records of ADAlertStore.

#include <memory>
#include <utility>

#include "platform/persistence/FetchCursor.h"
#include "store/ADAlertAdditions.h"
#include "store/ADAlertStore.h"
#include "store/ADAlertStoreFetch.h"

namespace velto {
namespace {

FetchRequest newestFirst(Predicate predicate) {
  FetchRequest request{std::string(ADAlert::kEntityName)};
  request.setSortDescriptors({{.key = "sentDate", .ascending = false}});
  request.setPredicate(std::move(predicate));
  return request;
}

FetchRequest isWithin(const std::optional<Date>& from, Date to) {
  if (!from) {
    return newestFirst(Predicate::withFormat(
        "sentDate <= %@ OR readDate <= %@ OR resolvedDate <= %@", {to, to, to}));
  }
  return newestFirst(Predicate::withFormat(
      "(sentDate > %@ AND sentDate <= %@) OR (readDate > %@ AND readDate <= %@) OR "
      "(resolvedDate > %@ AND resolvedDate <= %@)",
      {*from, to, *from, to, *from, to}));
}

FetchRequest isOfType(const std::optional<std::string>& type) {
  return newestFirst(Predicate::withFormat("type = %@", {predicateValue(type)}));
}

FetchRequest isOfBundle(const std::optional<std::string>& bundle) {
  return newestFirst(Predicate::withFormat("bundle = %@", {predicateValue(bundle)}));
}

Error alertNotFound() {
  return storeError("Update Alert: Alert not found.");
}

std::vector<VLAlert> listing(ManagedObjectContext& context, const FetchRequest& request,
                             ErrorSlot error) {
  const auto records = context.executeFetchRequest<ADAlert>(request, error);
  std::vector<VLAlert> alerts;
  // The slot decides, also with an error that was in it before.
  if (!records || (error != nullptr && error->has_value())) {
    return alerts;
  }
  alerts.reserve(records->size());
  for (const ADAlert& record : *records) {
    alerts.push_back(initWithADAlert(record));
  }
  return alerts;
}

/// The next few alerts: some, if there are any, but not many, and not much.
std::vector<VLAlert> nextFew(FetchCursor& cursor, ErrorSlot error) {
  constexpr std::size_t kMany = 64;
  constexpr std::size_t kMuch = std::size_t{64} * 1024;
  std::vector<VLAlert> alerts;
  alerts.reserve(kMany);
  std::size_t size = 0;
  std::optional<Error> failure;
  cursor.read<ADAlert>(
      [&](const ADAlert& record) {
        size += record.attributes() == nullptr ? 0 : record.attributes()->size();
        alerts.push_back(initWithADAlert(record));
        return alerts.size() < kMany && size < kMuch;
      },
      &failure);
  if (failure) {
    // What has been read would come again when the cursor goes on.
    alerts.clear();
    replaceError(error, *std::move(failure));
  }
  return alerts;
}

std::optional<VLAlert> newest(ManagedObjectContext& context, FetchRequest request,
                              ErrorSlot error) {
  request.setFetchLimit(1);
  const auto records = context.executeFetchRequest<ADAlert>(request, error);
  if (!records || records->empty()) {
    return std::nullopt;
  }
  return initWithADAlert(records->front());
}

}  // namespace

void ADAlertStore::insertAlert(const VLAlert& alert) {
  insertADAlertObjectInManagedObjectContext(alert, managedObjectContext());
}

std::optional<ADAlert> ADAlertStore::recordToUpdate(const std::optional<std::string>& identifier,
                                                    ErrorSlot error) {
  auto record = getADAlertWithIdentifier(identifier, error);
  if (!record) {
    setIfEmpty(error, alertNotFound());
  }
  return record;
}

bool ADAlertStore::updateAlert(const std::optional<VLAlert>& alert, ErrorSlot error) {
  if (!alert) {
    setIfEmpty(error, alertNotFound());
    return false;
  }
  auto record = recordToUpdate(alert->identifier, error);
  if (!record) {
    return false;
  }
  record->setType(alert->type);
  record->setBundle(alert->bundle);
  record->setSentDate(alert->sentDate);
  record->setReadDate(alert->readDate);
  record->setResolvedDate(alert->resolvedDate);
  record->setAttributes(encodedAttributes(alert->attributes));
  return true;
}

bool ADAlertStore::markAlertAsRead(const std::optional<std::string>& identifier, Date date,
                                   ErrorSlot error) {
  auto record = recordToUpdate(identifier, error);
  if (record) {
    record->setReadDate(date);
  }
  return record.has_value();
}

bool ADAlertStore::markAlertAsResolved(const std::optional<std::string>& identifier, Date date,
                                       ErrorSlot error) {
  auto record = recordToUpdate(identifier, error);
  if (record) {
    record->setResolvedDate(date);
  }
  return record.has_value();
}

bool ADAlertStore::resolveAlert(const VLAlert& alert, Date date, ErrorSlot error) {
  auto record = recordToUpdate(alert.identifier, error);
  if (!record || record->resolvedDate() != alert.resolvedDate) {
    return false;
  }
  record->setResolvedDate(date);
  return true;
}

bool ADAlertStore::deleteAlert(const std::optional<VLAlert>& alert, ErrorSlot error) {
  const auto record = alert ? getADAlertWithIdentifier(alert->identifier, error) : std::nullopt;
  if (!record) {
    const auto identifier = alert ? alert->identifier : std::nullopt;
    setIfEmpty(error, storeError("Delete Alert: Alert '" + keyText(identifier) + "' not found."));
    return false;
  }
  managedObjectContext().deleteObject(*record);
  return true;
}

std::optional<VLAlert> ADAlertStore::getAlertWithIdentifier(
    const std::optional<std::string>& identifier, ErrorSlot error) {
  const auto record = getADAlertWithIdentifier(identifier, error);
  return record ? std::optional(initWithADAlert(*record)) : std::nullopt;
}

std::vector<VLAlert> ADAlertStore::getAlertsFromDate(const std::optional<Date>& from,
                                                     const std::optional<Date>& to,
                                                     ErrorSlot error) {
  return listing(managedObjectContext(), isWithin(from, to.value_or(container_.clock().now())),
                 error);
}

std::vector<VLAlert> ADAlertStore::getAlertsOfType(const std::optional<std::string>& type,
                                                   ErrorSlot error) {
  return listing(managedObjectContext(), isOfType(type), error);
}

std::vector<VLAlert> ADAlertStore::getAlertsOfBundle(const std::optional<std::string>& bundle,
                                                     ErrorSlot error) {
  return listing(managedObjectContext(), isOfBundle(bundle), error);
}

AlertSequence ADAlertStore::alertsFromDate(const std::optional<Date>& from,
                                           const std::optional<Date>& to, ErrorSlot error) {
  return sequence(isWithin(from, to.value_or(container_.clock().now())), error);
}

AlertSequence ADAlertStore::alertsOfType(const std::optional<std::string>& type, ErrorSlot error) {
  return sequence(isOfType(type), error);
}

AlertSequence ADAlertStore::alertsOfBundle(const std::optional<std::string>& bundle,
                                           ErrorSlot error) {
  return sequence(isOfBundle(bundle), error);
}

AlertSequence ADAlertStore::sequence(const FetchRequest& request, ErrorSlot error) {
  auto coordinator = container_.persistentStoreCoordinator();
  if (coordinator == nullptr || hasChanges()) {
    return listing(managedObjectContext(), request, error);
  }
  if (error != nullptr && error->has_value()) {
    return {};
  }
  const auto cursor = std::make_shared<FetchCursor>(std::move(coordinator), request);
  AlertSequence alerts([cursor](ErrorSlot slot) { return nextFew(*cursor, slot); });
  alerts.current(error);
  return alerts;
}

std::vector<std::unique_ptr<VLAlertSubclass>> ADAlertStore::getUnresolvedAlertSubclasses(
    ErrorSlot error) {
  return unresolvedAlertSubclasses([](const VLAlertSubclass&) { return true; }, error);
}

std::vector<std::unique_ptr<VLAlertSubclass>> ADAlertStore::getRecoverableAlertSubclasses(
    ErrorSlot error) {
  return unresolvedAlertSubclasses(
      [](const VLAlertSubclass& alert) { return !alert.recoveryOptions().empty(); }, error);
}

std::vector<std::unique_ptr<VLAlertSubclass>> ADAlertStore::unresolvedAlertSubclasses(
    const std::function<bool(const VLAlertSubclass&)>& isWanted, ErrorSlot error) {
  std::vector<std::unique_ptr<VLAlertSubclass>> alerts;
  AlertSequence unresolved =
      sequence(newestFirst(Predicate::withFormat("resolvedDate = nil")), error);
  while (const VLAlert* alert = unresolved.current(error)) {
    auto bundleAlert = container_.bundles().alertSubclass(*alert, error);
    if (bundleAlert != nullptr && isWanted(*bundleAlert)) {
      alerts.push_back(std::move(bundleAlert));
    }
    unresolved.advance();
  }
  return alerts;
}

std::optional<VLAlert> ADAlertStore::getLastAlertOfType(const std::optional<std::string>& type,
                                                        ErrorSlot error) {
  return newest(managedObjectContext(), isOfType(type), error);
}

std::optional<VLAlert> ADAlertStore::getLastAlertOfBundle(const std::optional<std::string>& bundle,
                                                          ErrorSlot error) {
  return newest(managedObjectContext(), isOfBundle(bundle), error);
}

std::uint64_t ADAlertStore::deleteAlertsBeforeDate(const std::optional<Date>& date,
                                                   ErrorSlot error) {
  return deleteAlerts(Predicate::withFormat("sentDate < %@", {predicateValue(date)}), error);
}

std::uint64_t ADAlertStore::deleteAlertsWithIds(std::vector<std::string> identifiers,
                                                ErrorSlot error) {
  return deleteAlerts(Predicate::isIn("identifier", std::move(identifiers)), error);
}

std::uint64_t ADAlertStore::deleteAlertsWithBundleIDs(const std::vector<std::string>& bundles,
                                                      ErrorSlot error) {
  std::optional<Error> own;
  const ErrorSlot slot = error == nullptr ? &own : error;
  std::vector<std::string> identifiers;
  for (const std::string& bundle : bundles) {
    const auto alerts = getAlertsOfBundle(bundle, slot);
    if (slot->has_value()) {
      return 0;
    }
    for (const VLAlert& alert : alerts) {
      if (alert.identifier) {
        identifiers.push_back(*alert.identifier);
      }
    }
  }
  return deleteAlertsWithIds(std::move(identifiers), slot);
}

std::uint64_t ADAlertStore::deleteAlerts(Predicate predicate, ErrorSlot error) {
  FetchRequest request{std::string(ADAlert::kEntityName)};
  request.setPredicate(std::move(predicate));
  ManagedObjectContext& context = managedObjectContext();
  const auto records =
      context.executeFetchRequest<ADAlert>(request, error).value_or(std::vector<ADAlert>());
  for (const ADAlert& record : records) {
    context.deleteObject(record);
  }
  return records.size();
}

}  // namespace velto
