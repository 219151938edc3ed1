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

/// The index's name tells its columns; no name of an attribute holds a comma or a parenthesis.
std::string createIndex(const EntityDescription& entity, const std::vector<std::string>& keys) {
  const std::string name =
      entity.name() + "(" + joined(keys, ",", [](const auto& key) { return key; }) + ")";
  return "CREATE INDEX IF NOT EXISTS " + quoted(name) + " ON " + quoted(entity.name()) + "(" +
         joined(keys, ", ", quoted) + ")";
}

}  // namespace

std::string quoted(const std::string& name) {
  return "\"" + name + "\"";
}

EntitySql::EntitySql(const EntityDescription& entity) {
  const auto list = [&](std::string_view separator, auto textOf) {
    return joined(entity.attributes(), separator, textOf);
  };
  const auto column = [](const AttributeDescription& attribute) { return quoted(attribute.name); };
  const std::string table = quoted(entity.name());
  const std::string columns = list(", ", column);

  create.push_back("CREATE TABLE IF NOT EXISTS " + table +
                   " (_id INTEGER PRIMARY KEY AUTOINCREMENT, _version INTEGER NOT NULL, " +
                   list(", ",
                        [&](const auto& attribute) {
                          return column(attribute).append(" ").append(columnType(attribute.type));
                        }) +
                   ")");
  for (const std::vector<std::string>& keys : entity.indexes()) {
    create.push_back(createIndex(entity, keys));
  }
  select = "SELECT _id, _version, " + columns + " FROM " + table;
  selectByRowIds =
      "SELECT " + table + "._id, _version, " +
      list(", ", [&](const auto& attribute) { return table + "." + column(attribute); }) +
      ", list.rowid FROM velto_integers(?) AS list CROSS JOIN " + table + " ON " + table +
      "._id = list.value";
  insert = "INSERT INTO " + table + " (_version, " + columns + ") VALUES (1, " +
           list(", ", [](const auto&) { return "?"; }) + ")";
  update = "UPDATE " + table + " SET _version = _version + 1, " +
           list(", ", [&](const auto& attribute) { return column(attribute) + " = ?"; }) +
           " WHERE _id = ? AND _version = ?";
  remove = "DELETE FROM " + table + " WHERE _id = ? AND _version = ?";
}

}  // namespace velto
