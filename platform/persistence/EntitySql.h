// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "platform/persistence/ManagedObjectModel.h"

namespace velto {

/// How an entity is kept: a table of its name with the columns _id (never used again), _version
/// (grows with each update) and the attributes in declaration order. Attribute names begin with a
/// letter, so they never meet these two. Immutable; any thread.
struct EntitySql {
  explicit EntitySql(const EntityDescription& entity);

  struct Index {
    std::string name;
    std::string create;
  };

  std::string table;
  /// Does nothing when the table is there.
  std::string createTable;
  /// All that the table is to have.
  std::vector<Index> indexes;
  /// SELECT of _id, _version and the attributes; a condition and an order may follow.
  std::string select;
  /// The same of the rows with the _ids of a list, in its order, and last the place in the list.
  std::string selectByRowIds;
  static constexpr std::size_t kMostRowsAnInsert = 8;
  /// One row, and so on to kMostRowsAnInsert of them: the attributes of each. When it fails, the
  /// rows before may be there.
  std::vector<std::string> inserts;
  /// The attributes, _id and the version that the row must still have.
  std::string update;
  /// _id and the version that the row must still have.
  std::string remove;
  /// The rows with the _ids of a list, whatever their versions.
  std::string removeByRowIds;
};

/// The name as an identifier of SQL.
std::string quoted(const std::string& name);

}  // namespace velto
