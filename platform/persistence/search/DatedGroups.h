// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "platform/foundation/Date.h"
#include "platform/foundation/Error.h"
#include "platform/persistence/AttributeValue.h"
#include "platform/persistence/FetchQuery.h"
#include "platform/persistence/PersistentStoreCoordinator.h"
#include "platform/persistence/Predicate.h"

namespace velto {

/// The records of an entity in groups, which are those of one value of a text, and within them by a
/// date. An index of the two, in this order, is entered for each question; what is counted is
/// stepped over in it. Each answer is as of one moment. One thread.
class DatedGroups {
 public:
  DatedGroups(PersistentStoreCoordinator& coordinator, std::string entityName, std::string text,
              std::string date);

  /// The first group, or the one that comes after this one; an absent value comes before all
  /// others. Nothing when there is none, or with the error.
  std::optional<AttributeValue> next(const std::optional<AttributeValue>& group,
                                     ErrorSlot error) const;
  /// Calls `take` for the dates of those of the group that the condition holds for, in ascending
  /// order, until it returns false. False with the error.
  bool dates(const AttributeValue& group, const Predicate& dates,
             const std::function<bool(Date)>& take, ErrorSlot error) const;
  /// How many of the group the condition holds for; nothing with the error.
  std::optional<std::int64_t> count(const AttributeValue& group, const Predicate& dates,
                                    ErrorSlot error) const;

 private:
  FetchRequest of(const AttributeValue& group, const Predicate& dates) const;
  FetchQuery query(const std::string& column, const FetchRequest& request) const;

  PersistentStoreCoordinator& coordinator_;
  const std::string entityName_;
  const std::string text_;
  const std::string date_;
};

}  // namespace velto
