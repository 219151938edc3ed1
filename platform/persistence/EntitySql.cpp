// SPDX-License-Identifier: Apache-2.0
#include "platform/persistence/EntitySql.h"

namespace velto {

namespace {

std::string_view columnType(AttributeType type) {
  switch (type) {
    case AttributeType::kString:
      return "TEXT";
    case AttributeType::kDate:
      return "REAL";
    case AttributeType::kData:
      return "BLOB";
    case AttributeType::kBoolean:
      break;
  }
  return "INTEGER";
}

template <typename Elements, typename Text>
std::string joined(const Elements& elements, std::string_view separator, Text textOf) {
  std::string text;
  for (const auto& element : elements) {
    text.append(text.empty() ? "" : separator).append(textOf(element));
  }
  return text;
}

/// The index's name tells its columns and which rows it has; no name of an attribute holds one of
/// the signs.
EntitySql::Index indexSql(const EntityDescription& entity, const IndexDescription& index) {
  std::string name =
      entity.name() + "(" + joined(index.keys, ",", [](const auto& key) { return key; }) + ")";
  std::string condition;
  const auto addCondition = [&](const std::string& attribute, std::string_view sign,
                                std::string_view test) {
    if (!attribute.empty()) {
      name.append(sign).append(attribute);
      condition.append(condition.empty() ? " WHERE " : " AND ").append(quoted(attribute) + " IS ");
      condition.append(test);
    }
  };
  addCondition(index.present, "+", "NOT NULL");
  addCondition(index.absent, "-", "NULL");
  return {name, "CREATE INDEX " + quoted(name) + " ON " + quoted(entity.name()) + "(" +
                    joined(index.keys, ", ", quoted) + ")" + condition};
}

}  // namespace

std::string quoted(const std::string& name) {
  return "\"" + name + "\"";
}

EntitySql::EntitySql(const EntityDescription& entity) : table(entity.name()) {
  const auto list = [&](std::string_view separator, auto textOf) {
    return joined(entity.attributes(), separator, textOf);
  };
  const auto column = [](const AttributeDescription& attribute) { return quoted(attribute.name); };
  const std::string name = quoted(table);
  const std::string columns = list(", ", column);

  createTable = "CREATE TABLE IF NOT EXISTS " + name +
                " (_id INTEGER PRIMARY KEY AUTOINCREMENT, _version INTEGER NOT NULL, " +
                list(", ",
                     [&](const auto& attribute) {
                       return column(attribute).append(" ").append(columnType(attribute.type));
                     }) +
                ")";
  for (const IndexDescription& index : entity.indexes()) {
    indexes.push_back(indexSql(entity, index));
  }
  select = "SELECT _id, _version, " + columns + " FROM " + name;
  selectByRowIds =
      "SELECT " + name + "._id, _version, " +
      list(", ", [&](const auto& attribute) { return name + "." + column(attribute); }) +
      ", list.rowid FROM velto_integers(?) AS list CROSS JOIN " + name + " ON " + name +
      "._id = list.value";
  // Opening the table and its indexes is a quarter of an insert's work, so several rows share it.
  // No row can violate a constraint; OR FAIL tells SQLite that it need not keep a journal in order
  // to undo the rows before one that does.
  const std::string row = "(1, " + list(", ", [](const auto&) { return "?"; }) + ")";
  std::string rows = "INSERT OR FAIL INTO " + name + " (_version, " + columns + ") VALUES " + row;
  while (inserts.size() < kMostRowsAnInsert) {
    inserts.push_back(rows);
    rows += ", " + row;
  }
  update = "UPDATE " + name + " SET _version = _version + 1, " +
           list(", ", [&](const auto& attribute) { return column(attribute) + " = ?"; }) +
           " WHERE _id = ? AND _version = ?";
  remove = "DELETE FROM " + name + " WHERE _id = ? AND _version = ?";
  removeByRowIds = "DELETE FROM " + name + " WHERE _id IN (SELECT value FROM velto_integers(?))";
}

}  // namespace velto
