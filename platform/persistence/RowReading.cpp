// SPDX-License-Identifier: Apache-2.0
#include "platform/persistence/RowReading.h"

#include <cstdint>
#include <optional>
#include <variant>

namespace velto {

namespace {

/// Nothing when what it has begun to read is no longer there, and nothing has been passed on.
std::optional<bool> readOnce(Statement& statement, UnsyncedCommits& unsynced,
                             const std::function<bool(const Statement&)>& row) {
  const std::uint64_t losses = unsynced.losses();
  Statement::Step step = statement.step();
  if (!unsynced.wait(losses)) return std::nullopt;
  while (step == Statement::Step::kRow && row(statement)) {
    step = statement.step();
  }
  return step != Statement::Step::kError;
}

}  // namespace

bool readRows(SQLiteConnection& reader, std::string_view sql,
              const std::function<void(Statement&)>& bind, UnsyncedCommits& unsynced,
              const std::function<bool(const Statement&)>& row) {
  std::optional<bool> isRead;
  while (!isRead) {
    Statement statement = reader.statement(sql);
    bind(statement);
    isRead = readOnce(statement, unsynced, row);
  }
  return *isRead;
}

bool readRows(const FetchQuery& query, SQLiteConnection& reader, UnsyncedCommits& unsynced,
              const std::function<bool(const Statement&)>& row) {
  const auto bind = [&query](Statement& statement) {
    for (const Predicate::Operand* operand : query.operands) {
      std::visit([&](const auto& value) { statement.bind(value); }, *operand);
    }
    if (query.limit != 0) {
      statement.bind(static_cast<std::int64_t>(query.limit));
    }
  };
  return readRows(reader, query.sql, bind, unsynced, row);
}

}  // namespace velto
