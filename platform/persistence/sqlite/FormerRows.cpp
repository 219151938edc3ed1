// SPDX-License-Identifier: Apache-2.0
#include "platform/persistence/sqlite/FormerRows.h"

#include <new>
#include <string>
#include <utility>

#include <sqlite3.h>

namespace velto {
namespace {

/// _id and _version come before the attributes.
constexpr int kFirstAttribute = 2;

/// A column's type follows from that of its attribute.
AttributeValue valueOf(sqlite3_value* value) {
  switch (sqlite3_value_type(value)) {
    case SQLITE_TEXT: {
      const auto* text = reinterpret_cast<const char*>(sqlite3_value_text(value));
      return std::string(text, static_cast<std::size_t>(sqlite3_value_bytes(value)));
    }
    case SQLITE_FLOAT:
      return Date(sqlite3_value_double(value));
    case SQLITE_INTEGER:
      return sqlite3_value_int64(value) != 0;
    default:
      return {};
  }
}

}  // namespace

FormerRows::FormerRows(sqlite3* database) : database_(database) {
  sqlite3_preupdate_hook(
      database_,
      [](void* rows, sqlite3*, int, const char*, const char*, sqlite3_int64, sqlite3_int64) {
        static_cast<FormerRows*>(rows)->add();
      },
      this);
}

FormerRows::~FormerRows() {
  sqlite3_preupdate_hook(database_, nullptr, nullptr);
}

/// SQLite cannot pass an exception on.
void FormerRows::add() noexcept {
  try {
    const int columns = sqlite3_preupdate_count(database_);
    std::vector<AttributeValue> values;
    values.reserve(static_cast<std::size_t>(columns - kFirstAttribute));
    for (int column = kFirstAttribute; column < columns; ++column) {
      sqlite3_value* value = nullptr;
      if (sqlite3_preupdate_old(database_, column, &value) != SQLITE_OK) throw std::bad_alloc();
      values.push_back(valueOf(value));
    }
    rows_.push_back(std::move(values));
  } catch (const std::bad_alloc&) {
    isComplete_ = false;
  }
}

std::vector<std::vector<AttributeValue>> FormerRows::take() {
  if (!isComplete_) throw std::bad_alloc();
  return std::move(rows_);
}

}  // namespace velto
