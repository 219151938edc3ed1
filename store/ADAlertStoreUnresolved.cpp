// SPDX-License-Identifier: Apache-2.0
// The unresolved alerts of ADAlertStore.
//
// There may be very many, and most are of kinds that nothing can be done about. So first the kinds
// are found, a bundle and a type each, which an index knows without going through the alerts; the
// bundles are asked about each kind once, and only the alerts of kinds that may have recovery
// actions are read.

#include <memory>
#include <utility>

#include "platform/persistence/DistinctPairs.h"
#include "platform/persistence/FetchCursor.h"
#include "store/ADAlertAdditions.h"
#include "store/ADAlertStore.h"
#include "store/ADAlertStoreFetch.h"

namespace velto {
namespace {

using Order = FetchRequest::Order;

Predicate isUnresolved() {
  return Predicate::withFormat("resolvedDate = nil");
}

FetchRequest isUnresolvedOfKind(const DistinctPairs::Pair& kind, Order order) {
  const auto& [bundle, type] = kind;
  return newestFirst(
      Predicate::withFormat("resolvedDate = nil AND bundle = %@ AND type = %@", {bundle, type}),
      order);
}

std::optional<std::string> textOf(const AttributeValue& value) {
  const auto* text = std::get_if<std::string>(&value);
  return text == nullptr ? std::nullopt : std::optional(*text);
}

VLAlert exampleOf(const DistinctPairs::Pair& kind) {
  VLAlert alert;
  alert.bundle = textOf(kind.first);
  alert.type = textOf(kind.second);
  return alert;
}

bool isNewer(const ADAlert& one, const ADAlert& other) {
  return one.sentDate() != other.sentDate() ? one.sentDate() > other.sentDate()
                                            : one.state().rowId > other.state().rowId;
}

/// The newest of the alerts of these kinds, if there still is one.
std::optional<ADAlert> newestOf(const std::vector<DistinctPairs::Pair>& kinds,
                                ManagedObjectContext& context, ErrorSlot error) {
  std::optional<ADAlert> newest;
  for (const auto& kind : kinds) {
    FetchRequest request = isUnresolvedOfKind(kind, Order::kIndexed);
    request.setFetchLimit(1);
    const auto found = context.executeFetchRequest<ADAlert>(request, error);
    if (found && !found->empty() && (!newest || isNewer(found->front(), *newest))) {
      newest = found->front();
    }
  }
  return newest;
}

}  // namespace

std::vector<std::unique_ptr<VLAlertSubclass>> ADAlertStore::getUnresolvedAlertSubclasses(
    ErrorSlot error) {
  std::vector<std::unique_ptr<VLAlertSubclass>> alerts;
  const FetchPart part{{newestFirst(isUnresolved(), Order::kAny)}, true};
  AlertSequence unresolved = sequence({part}, newestFirst(isUnresolved()), error);
  while (const VLAlert* alert = unresolved.current(error)) {
    if (auto bundleAlert = container_.bundles().alertSubclass(*alert, error)) {
      alerts.push_back(std::move(bundleAlert));
    }
    unresolved.advance();
  }
  return alerts;
}

AlertSequence ADAlertStore::recoverableAlerts(ErrorSlot error) {
  const FetchRequest whole = newestFirst(isUnresolved());
  const auto coordinator = container_.persistentStoreCoordinator();
  if (coordinator == nullptr || (error != nullptr && error->has_value())) {
    return sequence({}, whole, error);
  }
  const auto kinds = DistinctPairs(*coordinator, std::string(ADAlert::kEntityName), "bundle",
                                   "type", isUnresolved())
                         .find(error);
  FetchPart part{{}, true};
  std::vector<DistinctPairs::Pair> unknown;
  for (const auto& kind : kinds.value_or(std::vector<DistinctPairs::Pair>())) {
    const auto object = container_.bundles().alertSubclass(exampleOf(kind), nullptr);
    if (object == nullptr) {
      unknown.push_back(kind);
    } else if (object->mayHaveRecoveryOptions()) {
      part.requests.push_back(isUnresolvedOfKind(kind, Order::kAny));
    }
  }
  // What is wrong with a kind is told of its newest alert.
  if (const auto newest = newestOf(unknown, managedObjectContext(), error)) {
    container_.bundles().alertSubclass(initWithADAlert(*newest), error);
  }
  return part.requests.empty() ? AlertSequence() : sequence({std::move(part)}, whole, error);
}

}  // namespace velto
