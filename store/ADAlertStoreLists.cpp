// SPDX-License-Identifier: Apache-2.0
// The lists of alerts of ADAlertStore.

#include <memory>
#include <utility>

#include "platform/foundation/JSONText.h"
#include "platform/persistence/FetchCursor.h"
#include "store/ADAlertAdditions.h"
#include "store/ADAlertStore.h"
#include "store/ADAlertStoreFetch.h"

namespace velto {
namespace {

using Order = FetchRequest::Order;

/// A period of time.
struct Period {
  std::optional<Date> from;
  Date to;
};

/// What happened on this date of an alert happened within the period.
Predicate isWithin(const Period& period, const std::string& key) {
  return period.from
             ? Predicate::withFormat(key + " > %@ AND " + key + " <= %@", {*period.from, period.to})
             : Predicate::withFormat(key + " <= %@", {period.to});
}

FetchRequest isWithin(const Period& period) {
  const auto& [from, to] = period;
  if (!from) {
    return newestFirst(Predicate::withFormat(
        "sentDate <= %@ OR readDate <= %@ OR resolvedDate <= %@", {to, to, to}));
  }
  return newestFirst(Predicate::withFormat(
      "(sentDate > %@ AND sentDate <= %@) OR (readDate > %@ AND readDate <= %@) OR "
      "(resolvedDate > %@ AND resolvedDate <= %@)",
      {*from, to, *from, to, *from, to}));
}

/// What was read or resolved within the period and sent at one of these times.
FetchPart readOrResolved(const Period& period, const std::vector<Predicate>& sent) {
  FetchPart part{{}, true};
  for (const char* key : {"readDate", "resolvedDate"}) {
    for (const Predicate& predicate : sent) {
      part.requests.push_back(
          newestFirst(Predicate::both(isWithin(period, key), predicate), Order::kAny));
    }
  }
  return part;
}

/// Whether anything was sent after this time. When that cannot be found out, there may be.
bool isSentAfter(Date time, PersistentStoreCoordinator& coordinator) {
  FetchRequest request =
      newestFirst(Predicate::withFormat("sentDate > %@", {time}), Order::kIndexed);
  request.setFetchLimit(1);
  const auto found = coordinator.rowIds(request, nullptr);
  return !found || !found->empty();
}

/// In the order of the sent dates: what was sent after the period but, strangely enough, read or
/// resolved in it, if it is worth looking for; what was sent in it; and what was sent before it.
std::vector<FetchPart> partsWithin(const Period& period, bool isAnySentAfter) {
  std::vector<Predicate> before{Predicate::withFormat("sentDate = nil")};
  if (period.from) {
    before.push_back(Predicate::withFormat("sentDate <= %@", {*period.from}));
  }
  std::vector<FetchPart> parts;
  if (isAnySentAfter) {
    parts.push_back(readOrResolved(period, {Predicate::withFormat("sentDate > %@", {period.to})}));
  }
  parts.push_back({{newestFirst(isWithin(period, "sentDate"), Order::kIndexed)}});
  parts.push_back(readOrResolved(period, before));
  return parts;
}

FetchRequest isOfType(const std::optional<std::string>& type) {
  return newestFirst(Predicate::withFormat("type = %@", {predicateValue(type)}), Order::kIndexed);
}

FetchRequest isOfBundle(const std::optional<std::string>& bundle) {
  return newestFirst(Predicate::withFormat("bundle = %@", {predicateValue(bundle)}),
                     Order::kIndexed);
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

/// The next few alerts: some, if there are any, but not many, and not much. None with an error:
/// what has been read would come again when the cursor goes on.
constexpr std::size_t kMany = 64;
constexpr std::size_t kMuch = std::size_t{64} * 1024;

std::vector<VLAlert> nextFew(FetchCursor& cursor, ErrorSlot error) {
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
    alerts.clear();
    replaceError(error, *std::move(failure));
  }
  return alerts;
}

/// An error ends the list with what came before the reading that has failed.
bool appendTexts(FetchCursor& cursor, std::string& text, std::size_t length, ErrorSlot error) {
  const auto append = [&](const StoredRow& row) {
    beginElement(text);
    appendAlertJSON(text, row);
    return text.size() < length;
  };
  std::optional<Error> failure;
  bool isMore = true;
  while (isMore && text.size() < length) {
    const std::size_t before = text.size();
    isMore = cursor.readRows(append, &failure);
    if (failure) text.resize(before);
  }
  isMore = isMore && cursor.hasNext(&failure);
  if (failure) replaceError(error, *std::move(failure));
  return isMore;
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

std::vector<VLAlert> ADAlertStore::getAlertsFromDate(const std::optional<Date>& from,
                                                     const std::optional<Date>& to,
                                                     ErrorSlot error) {
  return listing(managedObjectContext(), isWithin({from, to.value_or(container_.clock().now())}),
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
  const Period period{from, to.value_or(container_.clock().now())};
  const auto coordinator = container_.persistentStoreCoordinator();
  const bool isAnySentAfter = coordinator != nullptr && isSentAfter(period.to, *coordinator);
  return sequence(partsWithin(period, isAnySentAfter), isWithin(period), error);
}

AlertSequence ADAlertStore::alertsOfType(const std::optional<std::string>& type, ErrorSlot error) {
  const FetchRequest request = isOfType(type);
  return sequence(datedAndUndated(request), request, error);
}

AlertSequence ADAlertStore::alertsOfBundle(const std::optional<std::string>& bundle,
                                           ErrorSlot error) {
  const FetchRequest request = isOfBundle(bundle);
  return sequence(datedAndUndated(request), request, error);
}

AlertSequence ADAlertStore::sequence(std::vector<FetchPart> parts, const FetchRequest& whole,
                                     ErrorSlot error) {
  auto coordinator = container_.persistentStoreCoordinator();
  if (coordinator == nullptr || hasChanges()) {
    return listing(managedObjectContext(), whole, error);
  }
  if (error != nullptr && error->has_value()) {
    return {};
  }
  const auto cursor = std::make_shared<FetchCursor>(std::move(coordinator), std::move(parts));
  AlertSequence alerts([cursor](ErrorSlot slot) { return nextFew(*cursor, slot); },
                       [cursor](std::string& text, std::size_t length, ErrorSlot slot) {
                         return appendTexts(*cursor, text, length, slot);
                       });
  alerts.current(error);
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

}  // namespace velto
