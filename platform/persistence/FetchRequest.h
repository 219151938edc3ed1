// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/persistence/Predicate.h"

namespace velto {

/// Orders fetched objects by one attribute. An absent value sorts below every present one: first
/// when ascending, last when descending.
struct SortDescriptor {
  std::string key;
  bool ascending = true;
};

/// What to fetch: the objects of one entity that a predicate holds for, in an order, at most as
/// many as a limit says. Without sort descriptors the order is that of insertion; objects that the
/// sort descriptors do not tell apart keep the order of insertion, or its reverse where the last
/// descriptor is descending.
class FetchRequest {
 public:
  /// What gives the order of the sort descriptors.
  enum class Order {
    kSorted,   ///< the records are found first, by the predicate, and sorted then
    kIndexed,  ///< an index of the model has what the predicate holds for in this order
    kAny,      ///< nothing: the records come as they are found
  };

  explicit FetchRequest(std::string entityName) : entityName_(std::move(entityName)) {}

  void setPredicate(Predicate predicate) { predicate_ = std::move(predicate); }
  void setSortDescriptors(std::vector<SortDescriptor> sort) { sortDescriptors_ = std::move(sort); }
  /// 0 is no limit.
  void setFetchLimit(std::size_t limit) { fetchLimit_ = limit; }

  void setOrder(Order order) { order_ = order; }

  const std::string& entityName() const { return entityName_; }
  const std::optional<Predicate>& predicate() const { return predicate_; }
  const std::vector<SortDescriptor>& sortDescriptors() const { return sortDescriptors_; }
  std::size_t fetchLimit() const { return fetchLimit_; }
  Order order() const { return order_; }

 private:
  std::string entityName_;
  std::optional<Predicate> predicate_;
  std::vector<SortDescriptor> sortDescriptors_;
  std::size_t fetchLimit_ = 0;
  Order order_ = Order::kSorted;
};

}  // namespace velto
