// SPDX-License-Identifier: Apache-2.0
#include "platform/persistence/sqlite/StoreSchema.h"

#include <set>

#include "platform/persistence/sqlite/SQLiteConnection.h"

namespace velto {
namespace {

/// The table, if the file has it, and its indexes, by name.
std::set<std::string> schemaNames(SQLiteConnection& connection, const std::string& table) {
  const AttributeValue argument = table;
  Statement statement = connection.statement("SELECT name FROM sqlite_master WHERE tbl_name = ?");
  statement.bind(argument);
  std::set<std::string> names;
  while (statement.step() == Statement::Step::kRow) {
    names.insert(std::get<std::string>(statement.value(0, AttributeType::kString)));
  }
  return names;
}

}  // namespace

std::vector<std::string> missingSchema(SQLiteConnection& connection,
                                       const std::vector<EntitySql>& entities) {
  std::vector<std::string> statements;
  for (const EntitySql& entity : entities) {
    auto names = schemaNames(connection, entity.table);
    if (names.erase(entity.table) == 0) {
      statements.push_back(entity.createTable);
    }
    for (const EntitySql::Index& index : entity.indexes) {
      if (names.erase(index.name) == 0) {
        statements.push_back(index.create);
      }
    }
    for (const std::string& left : names) {
      if (left.starts_with(entity.table + "(")) {
        statements.push_back("DROP INDEX " + quoted(left));
      }
    }
  }
  return statements;
}

}  // namespace velto
