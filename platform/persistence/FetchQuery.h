// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "platform/persistence/EntitySql.h"
#include "platform/persistence/FetchRequest.h"

namespace velto {

/// A place in the order of a request: that of the row with this value of the sort key.
struct FetchPosition {
  Predicate::Operand key;
  Predicate::Operand rowId;
};

/// A fetch request as a SELECT over the file. Made of names of the model and of parameters only.
/// Points into the request's predicate, and into the position.
struct FetchQuery {
  /// `select` names the columns and the table. `limit` 0 is none; it may differ from the request's.
  /// With `after`, for a request with one descending sort descriptor, only what comes after it, of
  /// the rows that have the key, or lack it, as this position does: its index is then entered
  /// there.
  FetchQuery(std::string select, const FetchRequest& request, const EntityDescription& entity,
             std::size_t limit, const FetchPosition* after = nullptr);

  std::string sql;
  /// What the parameters stand for, in order; the limit, if there is one, comes after them.
  std::vector<const Predicate::Operand*> operands;
  std::size_t limit;
};

}  // namespace velto
