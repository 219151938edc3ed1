// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/foundation/Error.h"
#include "platform/persistence/AttributeValue.h"
#include "platform/persistence/PersistentStoreCoordinator.h"
#include "platform/persistence/Predicate.h"

namespace velto {

/// Finds which values two attributes have together among the records of an entity that a condition
/// holds for, in order, absent ones first. An index that begins with the two, of these records
/// alone, is entered twice for each pair, so the cost is that of the pairs, and not of the records.
/// Used up by one call of `find`.
class DistinctPairs {
 public:
  using Pair = std::pair<AttributeValue, AttributeValue>;

  DistinctPairs(PersistentStoreCoordinator& coordinator, std::string entityName, std::string first,
                std::string second, Predicate condition);

  /// Nothing with the error when they cannot be read.
  std::optional<std::vector<Pair>> find(ErrorSlot error);

 private:
  std::optional<Pair> firstWhere(const std::vector<Predicate>& conditions,
                                 const std::vector<std::string>& order, bool& failed,
                                 ErrorSlot error);

  PersistentStoreCoordinator& coordinator_;
  const std::string entityName_;
  const std::string first_;
  const std::string second_;
  const Predicate condition_;
};

}  // namespace velto
