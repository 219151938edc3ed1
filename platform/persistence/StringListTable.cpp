#include "platform/persistence/StringListTable.h"

#include <new>

#include <sqlite3.h>

namespace velto {

namespace {

using List = std::vector<std::string>;

/// Told apart from other programs' pointers by this name.
constexpr const char* kPointerType = "velto.strings";
constexpr int kListColumn = 1;

/// SQLite knows a table and a cursor by the structure each begins with.
struct Cursor : sqlite3_vtab_cursor {
  const List* list = nullptr;
  std::size_t row = 0;
};

Cursor& cursorOf(sqlite3_vtab_cursor* base) {
  return *static_cast<Cursor*>(base);
}

int connect(sqlite3* database, void*, int, const char* const*, sqlite3_vtab** table, char**) {
  const int result = sqlite3_declare_vtab(database, "CREATE TABLE x(value TEXT, list HIDDEN)");
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

int openCursor(sqlite3_vtab*, sqlite3_vtab_cursor** cursor) {
  *cursor = new (std::nothrow) Cursor();
  return *cursor == nullptr ? SQLITE_NOMEM : SQLITE_OK;
}

int closeCursor(sqlite3_vtab_cursor* base) {
  delete &cursorOf(base);
  return SQLITE_OK;
}

int filter(sqlite3_vtab_cursor* base, int, const char*, int, sqlite3_value** arguments) {
  static const List kNothing;
  const auto* list = static_cast<const List*>(sqlite3_value_pointer(arguments[0], kPointerType));
  cursorOf(base).list = list == nullptr ? &kNothing : list;
  cursorOf(base).row = 0;
  return SQLITE_OK;
}

int next(sqlite3_vtab_cursor* base) {
  ++cursorOf(base).row;
  return SQLITE_OK;
}

int atEnd(sqlite3_vtab_cursor* base) {
  return cursorOf(base).row >= cursorOf(base).list->size() ? 1 : 0;
}

int column(sqlite3_vtab_cursor* base, sqlite3_context* result, int index) {
  if (index != kListColumn) {
    const std::string& text = (*cursorOf(base).list)[cursorOf(base).row];
    sqlite3_result_text64(result, text.data(), text.size(), SQLITE_STATIC, SQLITE_UTF8);
  }
  return SQLITE_OK;
}

int rowId(sqlite3_vtab_cursor* base, sqlite3_int64* id) {
  *id = static_cast<sqlite3_int64>(cursorOf(base).row);
  return SQLITE_OK;
}

/// Without xCreate the table is there by itself, under the module's name only.
constexpr sqlite3_module makeModule() {
  sqlite3_module module{};
  module.xConnect = connect;
  module.xBestIndex = planScan;
  module.xDisconnect = disconnect;
  module.xOpen = openCursor;
  module.xClose = closeCursor;
  module.xFilter = filter;
  module.xNext = next;
  module.xEof = atEnd;
  module.xColumn = column;
  module.xRowid = rowId;
  return module;
}

constexpr sqlite3_module kModule = makeModule();

}  // namespace

int registerStringListTable(sqlite3* database) {
  return sqlite3_create_module_v2(database, "velto_strings", &kModule, nullptr, nullptr);
}

int bindStringList(sqlite3_stmt* statement, int index, const std::vector<std::string>& list) {
  return sqlite3_bind_pointer(statement, index, const_cast<List*>(&list), kPointerType, nullptr);
}

}  // namespace velto
