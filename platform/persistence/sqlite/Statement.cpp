// SPDX-License-Identifier: Apache-2.0
#include <new>
#include <type_traits>

#include <sqlite3.h>

#include "platform/persistence/sqlite/ListTables.h"
#include "platform/persistence/sqlite/SQLiteConnection.h"

namespace velto {

namespace {

int bindValue(sqlite3_stmt* statement, int index, const AttributeValue& value) {
  return std::visit(
      [=](const auto& held) {
        using Held = std::decay_t<decltype(held)>;
        if constexpr (std::is_same_v<Held, std::monostate>) {
          return sqlite3_bind_null(statement, index);
        } else if constexpr (std::is_same_v<Held, std::string>) {
          return sqlite3_bind_text64(statement, index, held.data(), held.size(), SQLITE_STATIC,
                                     SQLITE_UTF8);
        } else if constexpr (std::is_same_v<Held, Date>) {
          return sqlite3_bind_double(statement, index, held.secondsSinceReference());
        } else if constexpr (std::is_same_v<Held, Data>) {
          // A null pointer would bind NULL.
          return held.empty() ? sqlite3_bind_zeroblob(statement, index, 0)
                              : sqlite3_bind_blob64(statement, index, held.bytes().data(),
                                                    held.size(), SQLITE_STATIC);
        } else {
          return sqlite3_bind_int(statement, index, held ? 1 : 0);
        }
      },
      value);
}

/// As a blob, text and data both come without conversion; the length is known only after the
/// pointer, which is null for what is empty, too.
std::string_view bytesOf(sqlite3_value* value) {
  const auto* start = static_cast<const char*>(sqlite3_value_blob(value));
  return {start, static_cast<std::size_t>(sqlite3_value_bytes(value))};
}

}  // namespace

int checkedForMemory(int result) {
  if (result == SQLITE_NOMEM || result == SQLITE_IOERR_NOMEM) {
    throw std::bad_alloc();
  }
  return result;
}

Statement::~Statement() {
  if (statement_ != nullptr) {
    sqlite3_reset(statement_);
    sqlite3_clear_bindings(statement_);
  }
}

void Statement::bind(const AttributeValue& value) {
  bindNext([&](int index) { return bindValue(statement_, index, value); });
}

void Statement::bind(std::int64_t value) {
  bindNext([&](int index) { return sqlite3_bind_int64(statement_, index, value); });
}

void Statement::bind(const std::vector<std::string>& list) {
  bindNext([&](int index) { return bindList(statement_, index, list); });
}

void Statement::bind(const std::span<const std::int64_t>& list) {
  bindNext([&](int index) { return bindList(statement_, index, list); });
}

/// After a failure nothing more is bound, so that SQLite's message stays.
template <typename Bind>
void Statement::bindNext(Bind bindAt) {
  failed_ = failed_ || checkedForMemory(bindAt(++parameters_)) != SQLITE_OK;
}

Statement::Step Statement::step() {
  if (failed_) {
    return Step::kError;
  }
  const int result = checkedForMemory(sqlite3_step(statement_));
  return result == SQLITE_ROW ? Step::kRow : result == SQLITE_DONE ? Step::kDone : Step::kError;
}

std::int64_t Statement::integer(int column) const {
  return sqlite3_column_int64(statement_, column);
}

double Statement::real(int column) const {
  return sqlite3_column_double(statement_, column);
}

bool Statement::isAbsent(int column) const {
  return sqlite3_column_type(statement_, column) == SQLITE_NULL;
}

/// The value is asked for once, since that takes the connection's lock; it is this thread's alone.
std::string_view Statement::bytes(int column) const {
  return bytesOf(sqlite3_column_value(statement_, column));
}

std::optional<std::string_view> Statement::presentBytes(int column) const {
  sqlite3_value* const value = sqlite3_column_value(statement_, column);
  const std::string_view bytes = bytesOf(value);
  // What is empty may have no place either.
  return bytes.data() == nullptr && sqlite3_value_type(value) == SQLITE_NULL ? std::nullopt
                                                                             : std::optional(bytes);
}

std::optional<double> Statement::presentReal(int column) const {
  sqlite3_value* const value = sqlite3_column_value(statement_, column);
  return sqlite3_value_type(value) == SQLITE_NULL ? std::nullopt
                                                  : std::optional(sqlite3_value_double(value));
}

AttributeValue Statement::value(int column, AttributeType type) const {
  AttributeValue value;
  read(column, type, value);
  return value;
}

void Statement::read(int column, AttributeType type, AttributeValue& value) const {
  if (type == AttributeType::kString) {
    readBytes<std::string>(column, value);
  } else if (type == AttributeType::kData) {
    readBytes<Data>(column, value);
  } else if (isAbsent(column)) {
    value = std::monostate();
  } else if (type == AttributeType::kDate) {
    value = Date(real(column));
  } else {
    value = integer(column) != 0;
  }
}

template <typename T>
void Statement::readBytes(int column, AttributeValue& value) const {
  const auto read = presentBytes(column);
  if (!read) {
    value = std::monostate();
    return;
  }
  T* kept = std::get_if<T>(&value);
  (kept == nullptr ? value.emplace<T>() : *kept).assign(*read);
}

}  // namespace velto
