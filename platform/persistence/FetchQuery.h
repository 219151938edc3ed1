#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "platform/persistence/EntitySql.h"
#include "platform/persistence/FetchRequest.h"

namespace velto {

/// A fetch request as a SELECT over the file. Made of names of the model and of parameters only.
/// Points into the request's predicate.
struct FetchQuery {
  /// `limit` 0 is none; it may differ from the request's.
  FetchQuery(const FetchRequest& request, const EntityDescription& entity,
             const EntitySql& entitySql, std::size_t limit);

  std::string sql;
  /// What the parameters stand for, in order; the limit, if there is one, comes after them.
  std::vector<const Predicate::Operand*> operands;
  std::size_t limit;
};

}  // namespace velto
