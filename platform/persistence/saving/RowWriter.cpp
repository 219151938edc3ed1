// SPDX-License-Identifier: Apache-2.0
// What a row had before its change only SQLite knows, so it is asked for that while it changes the
// row. Inserts, which are most of all changes, need no such question.

#include "platform/persistence/saving/RowWriter.h"

#include "platform/persistence/PersistenceErrors.h"
#include "platform/persistence/sqlite/FormerRows.h"

namespace velto {

void RowWriter::begin(bool notesRows) {
  notesRows_ = notesRows;
  rows_.clear();
}

std::optional<Error> RowWriter::write(std::vector<RowChange>& changes) {
  for (RowChange& change : changes) {
    if (std::optional<Error> error = write(change)) {
      return error;
    }
  }
  return std::nullopt;
}

std::optional<Error> RowWriter::write(RowChange& change) {
  using Kind = RowChange::Kind;
  const bool inserts = change.kind == Kind::kInsert;
  std::optional<FormerRows> former;
  if (notesRows_ && !inserts) former.emplace(connection_.handle());
  auto error = change.kind == Kind::kDeleteMany ? deleteMany(change) : writeOne(change);
  if (error || !notesRows_) return error;

  const std::string* entity = &change.sql->table;
  if (inserts) {
    rows_.push_back({ChangedRow::Kind::kInserted, entity, change.values, {}});
    return std::nullopt;
  }
  const bool updates = change.kind == Kind::kUpdate;
  for (auto& values : former->take()) {
    rows_.push_back({updates ? ChangedRow::Kind::kUpdated : ChangedRow::Kind::kDeleted, entity,
                     updates ? change.values : nullptr, std::move(values)});
  }
  return std::nullopt;
}

std::optional<Error> RowWriter::writeOne(RowChange& change) {
  const bool inserts = change.kind == RowChange::Kind::kInsert;
  const bool deletes = change.kind == RowChange::Kind::kDelete;
  Statement statement = connection_.statement(inserts   ? change.sql->insert
                                              : deletes ? change.sql->remove
                                                        : change.sql->update);
  if (!deletes) {
    for (const AttributeValue& value : *change.values) {
      statement.bind(value);
    }
  }
  if (!inserts) {
    statement.bind(change.rowId);
    statement.bind(change.version);
  }
  if (statement.step() != Statement::Step::kDone) {
    return connection_.lastError();
  }
  if (connection_.changes() != 1) {
    return makeError(kPersistenceErrorDomain, kConflictErrorCode,
                     connection_.path() + ": a record was changed or deleted since it was read");
  }
  if (inserts) {
    change.rowId = connection_.lastInsertRowId();
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
