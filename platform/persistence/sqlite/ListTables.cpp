// SPDX-License-Identifier: Apache-2.0
#include "platform/persistence/sqlite/ListTables.h"

#include <new>
#include <span>

#include <sqlite3.h>

namespace velto {

namespace {

constexpr int kListColumn = 1;

using Strings = std::vector<std::string>;
using Integers = std::span<const std::int64_t>;

void setResult(sqlite3_context* result, const std::string& text) {
  sqlite3_result_text64(result, text.data(), text.size(), SQLITE_STATIC, SQLITE_UTF8);
}

void setResult(sqlite3_context* result, std::int64_t integer) {
  sqlite3_result_int64(result, integer);
}

/// Told apart from other programs' pointers, and from each other, by these names.
template <typename List>
constexpr const char* kPointerType = nullptr;
template <>
constexpr const char* kPointerType<Strings> = "velto.strings";
template <>
constexpr const char* kPointerType<Integers> = "velto.integers";

/// SQLite knows a table and a cursor by the structure each begins with.
template <typename List>
struct Cursor : sqlite3_vtab_cursor {
  const List* list = nullptr;
  std::size_t row = 0;
};

template <typename List>
Cursor<List>& cursorOf(sqlite3_vtab_cursor* base) {
  return *static_cast<Cursor<List>*>(base);
}

int connect(sqlite3* database, void*, int, const char* const*, sqlite3_vtab** table, char**) {
  const int result = sqlite3_declare_vtab(database, "CREATE TABLE x(value, list HIDDEN)");
  if (result == SQLITE_OK) {
    *table = new (std::nothrow) sqlite3_vtab();
  }
  return result == SQLITE_OK && *table == nullptr ? SQLITE_NOMEM : result;
}

int disconnect(sqlite3_vtab* table) {
  delete table;
  return SQLITE_OK;
}

/// The only plan is to walk the list that the function was called with.
int planScan(sqlite3_vtab*, sqlite3_index_info* info) {
  for (int index = 0; index < info->nConstraint; ++index) {
    const auto& constraint = info->aConstraint[index];
    if (constraint.iColumn == kListColumn && constraint.op == SQLITE_INDEX_CONSTRAINT_EQ &&
        constraint.usable != 0) {
      info->aConstraintUsage[index].argvIndex = 1;
      info->aConstraintUsage[index].omit = 1;
      return SQLITE_OK;
    }
  }
  return SQLITE_CONSTRAINT;
}

template <typename List>
int openCursor(sqlite3_vtab*, sqlite3_vtab_cursor** cursor) {
  *cursor = new (std::nothrow) Cursor<List>();
  return *cursor == nullptr ? SQLITE_NOMEM : SQLITE_OK;
}

template <typename List>
int closeCursor(sqlite3_vtab_cursor* base) {
  delete &cursorOf<List>(base);
  return SQLITE_OK;
}

template <typename List>
int filter(sqlite3_vtab_cursor* base, int, const char*, int, sqlite3_value** arguments) {
  static const List kNothing;
  const void* list = sqlite3_value_pointer(arguments[0], kPointerType<List>);
  cursorOf<List>(base).list = list == nullptr ? &kNothing : static_cast<const List*>(list);
  cursorOf<List>(base).row = 0;
  return SQLITE_OK;
}

template <typename List>
int next(sqlite3_vtab_cursor* base) {
  ++cursorOf<List>(base).row;
  return SQLITE_OK;
}

template <typename List>
int atEnd(sqlite3_vtab_cursor* base) {
  return cursorOf<List>(base).row >= cursorOf<List>(base).list->size() ? 1 : 0;
}

template <typename List>
int column(sqlite3_vtab_cursor* base, sqlite3_context* result, int index) {
  if (index != kListColumn) {
    setResult(result, (*cursorOf<List>(base).list)[cursorOf<List>(base).row]);
  }
  return SQLITE_OK;
}

template <typename List>
int rowId(sqlite3_vtab_cursor* base, sqlite3_int64* id) {
  *id = static_cast<sqlite3_int64>(cursorOf<List>(base).row);
  return SQLITE_OK;
}

/// Without xCreate the table is there by itself, under the module's name only.
template <typename List>
constexpr sqlite3_module makeModule() {
  sqlite3_module module{};
  module.xConnect = connect;
  module.xBestIndex = planScan;
  module.xDisconnect = disconnect;
  module.xOpen = openCursor<List>;
  module.xClose = closeCursor<List>;
  module.xFilter = filter<List>;
  module.xNext = next<List>;
  module.xEof = atEnd<List>;
  module.xColumn = column<List>;
  module.xRowid = rowId<List>;
  return module;
}

constexpr sqlite3_module kStringsModule = makeModule<Strings>();
constexpr sqlite3_module kIntegersModule = makeModule<Integers>();

template <typename List>
int bindPointer(sqlite3_stmt* statement, int index, const List& list) {
  return sqlite3_bind_pointer(statement, index, const_cast<List*>(&list), kPointerType<List>,
                              nullptr);
}

}  // namespace

int registerListTables(sqlite3* database) {
  const int result =
      sqlite3_create_module_v2(database, "velto_strings", &kStringsModule, nullptr, nullptr);
  return result != SQLITE_OK ? result
                             : sqlite3_create_module_v2(database, "velto_integers",
                                                        &kIntegersModule, nullptr, nullptr);
}

int bindList(sqlite3_stmt* statement, int index, const std::vector<std::string>& list) {
  return bindPointer(statement, index, list);
}

int bindList(sqlite3_stmt* statement, int index, const std::span<const std::int64_t>& list) {
  return bindPointer(statement, index, list);
}

}  // namespace velto
