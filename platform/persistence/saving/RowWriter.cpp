// SPDX-License-Identifier: Apache-2.0
// What a row had before its change only SQLite knows, so it is asked for that while it changes the
// row. Inserts, which are most of all changes, need no such question.

#include "platform/persistence/saving/RowWriter.h"

#include "platform/persistence/PersistenceErrors.h"
#include "platform/persistence/sqlite/FormerRows.h"

namespace velto {

bool isInsertedWith(std::span<RowChange* const> inserts, const RowChange& next) {
  return next.kind == RowChange::Kind::kInsert &&
         (inserts.empty() ||
          (inserts.front()->sql == next.sql && inserts.size() < EntitySql::kMostRowsAnInsert));
}

void RowWriter::begin(bool notesRows) {
  notesRows_ = notesRows;
  rows_.clear();
}

std::optional<Error> RowWriter::write(std::vector<RowChange>& changes) {
  std::vector<RowChange*> inserts;
  std::optional<Error> error;
  for (auto next = changes.begin(); next != changes.end() && !error;) {
    for (inserts.clear(); next != changes.end() && isInsertedWith(inserts, *next); ++next) {
      inserts.push_back(&*next);
    }
    error = inserts.empty() ? write(*next++) : insert(inserts);
  }
  return error;
}

std::optional<Error> RowWriter::insert(std::span<RowChange* const> changes) {
  const EntitySql& sql = *changes.front()->sql;
  Statement statement = connection_.statement(sql.inserts[changes.size() - 1]);
  for (const RowChange* change : changes) {
    for (const AttributeValue& value : *change->values) {
      statement.bind(value);
    }
  }
  if (statement.step() != Statement::Step::kDone) return connection_.lastError();
  std::int64_t rowId = connection_.lastInsertRowId() - static_cast<std::int64_t>(changes.size());
  for (RowChange* change : changes) {
    change->rowId = ++rowId;
    if (notesRows_) {
      rows_.push_back({ChangedRow::Kind::kInserted, &sql.table, change->values, {}});
    }
  }
  return std::nullopt;
}

/// One that is no insert.
std::optional<Error> RowWriter::write(RowChange& change) {
  using Kind = RowChange::Kind;
  std::optional<FormerRows> former;
  if (notesRows_) former.emplace(connection_.handle());
  auto error = change.kind == Kind::kDeleteMany ? deleteMany(change) : changeOne(change);
  if (error || !notesRows_) return error;

  const bool updates = change.kind == Kind::kUpdate;
  for (auto& values : former->take()) {
    rows_.push_back({updates ? ChangedRow::Kind::kUpdated : ChangedRow::Kind::kDeleted,
                     &change.sql->table, updates ? change.values : nullptr, std::move(values)});
  }
  return std::nullopt;
}

std::optional<Error> RowWriter::changeOne(RowChange& change) {
  const bool deletes = change.kind == RowChange::Kind::kDelete;
  Statement statement = connection_.statement(deletes ? change.sql->remove : change.sql->update);
  if (!deletes) {
    for (const AttributeValue& value : *change.values) {
      statement.bind(value);
    }
  }
  statement.bind(change.rowId);
  statement.bind(change.version);
  if (statement.step() != Statement::Step::kDone) {
    return connection_.lastError();
  }
  if (connection_.changes() != 1) {
    return makeError(kPersistenceErrorDomain, kConflictErrorCode,
                     connection_.path() + ": a record was changed or deleted since it was read");
  }
  return std::nullopt;
}

std::optional<Error> RowWriter::deleteMany(RowChange& change) {
  Statement statement = connection_.statement(change.sql->removeByRowIds);
  statement.bind(change.rowIds);
  if (statement.step() != Statement::Step::kDone) {
    return connection_.lastError();
  }
  change.deleted = connection_.changes();
  return std::nullopt;
}

}  // namespace velto
