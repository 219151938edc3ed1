// SPDX-License-Identifier: Apache-2.0
// The deletions of many alerts of ADAlertStore.
//
// A few records are deleted like any others: in the handle's context, until it is saved. Of many,
// neither memory nor the other savers could bear that, so they go at once, oldest first and a
// portion a transaction; what is gone by a stop or a failure in between stays gone.

#include <algorithm>
#include <iterator>
#include <utility>

#include "store/ADAlertStore.h"
#include "store/ADAlertStoreFetch.h"

namespace velto {
namespace {

using Order = FetchRequest::Order;

/// More records than these are many.
constexpr std::size_t kFew = 1000;
/// So many identifiers of a bundle's alerts are held at a time.
constexpr std::size_t kIdentifiersAtOnce = 5000;

FetchRequest oldestFirst(Predicate predicate, Order order) {
  FetchRequest request = newestFirst(std::move(predicate), order);
  request.setSortDescriptors({{.key = "sentDate", .ascending = true}});
  return request;
}

}  // namespace

std::uint64_t ADAlertStore::deleteAlertsBeforeDate(const std::optional<Date>& date,
                                                   ErrorSlot error) {
  return deleteAlerts(
      oldestFirst(Predicate::withFormat("sentDate < %@", {predicateValue(date)}), Order::kIndexed),
      error);
}

std::uint64_t ADAlertStore::deleteAlertsWithIds(std::vector<std::string> identifiers,
                                                ErrorSlot error) {
  return deleteAlertsWithIds(AlertIdentifiers(std::move(identifiers)), error);
}

std::uint64_t ADAlertStore::deleteAlertsWithIds(const AlertIdentifiers& identifiers,
                                                ErrorSlot error) {
  return deleteAlerts(oldestFirst(identifiers.predicate(), Order::kSorted), error);
}

std::uint64_t ADAlertStore::deleteAlertsWithBundleIDs(const std::vector<std::string>& bundles,
                                                      ErrorSlot error) {
  std::optional<Error> own;
  const ErrorSlot slot = error == nullptr ? &own : error;
  std::uint64_t deleted = 0;
  std::vector<std::string> rest;
  for (const std::string& bundle : bundles) {
    auto identifiers = oldestIdentifiers(bundle, slot);
    // A full portion is many records, which go at once, so that others are the oldest then.
    while (identifiers.size() == kIdentifiersAtOnce && !slot->has_value()) {
      deleted += deleteAlertsWithIds(std::move(identifiers), slot);
      identifiers = oldestIdentifiers(bundle, slot);
    }
    if (slot->has_value()) {
      return deleted;
    }
    std::move(identifiers.begin(), identifiers.end(), std::back_inserter(rest));
  }
  return deleted + deleteAlertsWithIds(std::move(rest), slot);
}

/// Those of the bundle's alerts, as many as are held at a time.
std::vector<std::string> ADAlertStore::oldestIdentifiers(const std::string& bundle,
                                                         ErrorSlot error) {
  FetchRequest request = oldestFirst(
      Predicate::withFormat("bundle = %@ AND identifier != nil", {bundle}), Order::kIndexed);
  request.setFetchLimit(kIdentifiersAtOnce);
  // What this handle has not changed need not stay in its memory.
  ADAlertStore other(container_);
  const bool isOther = !hasChanges() && container_.persistentStoreCoordinator() != nullptr;
  ManagedObjectContext& context = (isOther ? other : *this).managedObjectContext();
  std::vector<std::string> identifiers;
  for (const ADAlert& record :
       context.executeFetchRequest<ADAlert>(request, error).value_or(std::vector<ADAlert>())) {
    identifiers.emplace_back(*record.identifier());
  }
  return identifiers;
}

std::uint64_t ADAlertStore::deleteAlerts(const FetchRequest& request, ErrorSlot error) {
  const auto coordinator = container_.persistentStoreCoordinator();
  if (coordinator != nullptr && !hasChanges()) {
    const auto rowIds = coordinator->rowIds(request, error);
    if (!rowIds) {
      return 0;
    }
    if (rowIds->size() > kFew) {
      std::optional<Error> failure;
      const auto deleted = coordinator->deleteRows(
          *coordinator->model().entity(ADAlert::kEntityName), *rowIds, &failure);
      if (failure) {
        container_.noteFailedSave(*failure);
        replaceError(error, *std::move(failure));
      }
      return deleted;
    }
  }
  ManagedObjectContext& context = managedObjectContext();
  const auto records =
      context.executeFetchRequest<ADAlert>(request, error).value_or(std::vector<ADAlert>());
  for (const ADAlert& record : records) {
    context.deleteObject(record);
  }
  return records.size();
}

}  // namespace velto
