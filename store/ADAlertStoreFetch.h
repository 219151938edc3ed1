// SPDX-License-Identifier: Apache-2.0
#pragma once

// The fetches that the record families of ADAlertStore have in common.

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/foundation/Error.h"
#include "platform/persistence/ManagedObjectContext.h"
#include "store/ADAlert.h"

namespace velto {

/// The store's own error.
Error storeError(std::string_view message);

/// How a key stands in a message.
inline std::string keyText(const std::optional<std::string>& key) {
  return key.value_or("(null)");
}

/// As an argument of a predicate, where an absent key compares against nil.
template <typename T>
AttributeValue predicateValue(const std::optional<T>& key) {
  return key ? AttributeValue(*key) : AttributeValue();
}

/// The alerts that the predicate holds for, in the order of the listings.
inline FetchRequest newestFirst(Predicate predicate,
                                FetchRequest::Order order = FetchRequest::Order::kSorted) {
  FetchRequest request{std::string(ADAlert::kEntityName)};
  request.setSortDescriptors({{.key = "sentDate", .ascending = false}});
  request.setPredicate(std::move(predicate));
  request.setOrder(order);
  return request;
}

/// One record of those with the key, if there is any.
template <typename Object, typename Key>
std::optional<Object> firstWithKey(ManagedObjectContext& context, std::string_view format,
                                   const std::optional<Key>& key, ErrorSlot error) {
  FetchRequest request{std::string(Object::kEntityName)};
  request.setPredicate(Predicate::withFormat(format, {predicateValue(key)}));
  request.setFetchLimit(1);
  const auto found = context.executeFetchRequest<Object>(request, error);
  if (!found || found->empty()) {
    return std::nullopt;
  }
  return found->front();
}

/// All records of the entity, in the store's order; none when the fetch fails.
template <typename Object>
std::vector<Object> allObjects(ManagedObjectContext& context, ErrorSlot error) {
  const FetchRequest request{std::string(Object::kEntityName)};
  return context.executeFetchRequest<Object>(request, error).value_or(std::vector<Object>());
}

/// The enabled records of the entity, in the store's order; none when the fetch fails.
template <typename Object>
std::vector<Object> enabledObjects(ManagedObjectContext& context, ErrorSlot error) {
  FetchRequest request{std::string(Object::kEntityName)};
  request.setPredicate(Predicate::withFormat("enabled = 1"));
  return context.executeFetchRequest<Object>(request, error).value_or(std::vector<Object>());
}

}  // namespace velto
