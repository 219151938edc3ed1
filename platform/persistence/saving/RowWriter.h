// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "platform/foundation/Error.h"
#include "platform/persistence/AttributeValue.h"
#include "platform/persistence/CommitObserver.h"
#include "platform/persistence/EntitySql.h"
#include "platform/persistence/sqlite/SQLiteConnection.h"

namespace velto {

/// One row to write, or several to delete.
struct RowChange {
  enum class Kind { kInsert, kUpdate, kDelete, kDeleteMany };

  Kind kind;
  const EntitySql* sql;
  /// An insert gets the new row's.
  std::int64_t rowId;
  /// What an updated or deleted row must still have; afterwards what the row has now.
  std::int64_t version;
  const std::vector<AttributeValue>* values;
  /// Of kDeleteMany: the rows that go, whatever their versions, and afterwards how many there were.
  std::span<const std::int64_t> rowIds = {};
  std::int64_t deleted = 0;

  /// How many rows it has changed.
  std::int64_t rows() const { return kind == Kind::kDeleteMany ? deleted : 1; }
};

/// Whether the next change is an insert that the same statement can do as these, of which there may
/// be none.
bool isInsertedWith(std::span<RowChange* const> inserts, const RowChange& next);

/// Writes changes over a connection, within its transaction, and notes the rows for whoever wants
/// them. One thread at a time.
class RowWriter {
 public:
  explicit RowWriter(SQLiteConnection& connection) : connection_(connection) {}

  /// A transaction begins, whose rows are to be noted or not.
  void begin(bool notesRows);
  /// Writes the changes one after the other. The first error ends it, and what was written before
  /// it stays for the caller to undo. Throws std::bad_alloc.
  std::optional<Error> write(std::vector<RowChange>& changes);
  /// Inserts rows of one entity, at most EntitySql::kMostRowsAnInsert. With an error some of them
  /// may be there, for the caller to undo. Throws std::bad_alloc.
  std::optional<Error> insert(std::span<RowChange* const> changes);

  /// The rows noted since the transaction began. What an insert or update wrote is the change's.
  const std::vector<ChangedRow>& rows() const { return rows_; }
  std::vector<ChangedRow> takeRows() { return std::exchange(rows_, {}); }
  /// Those from the one at `first` on have been undone.
  void forgetRows(std::size_t first) {
    rows_.erase(rows_.begin() + static_cast<std::ptrdiff_t>(first), rows_.end());
  }

 private:
  std::optional<Error> write(RowChange& change);
  std::optional<Error> changeOne(RowChange& change);
  std::optional<Error> deleteMany(RowChange& change);

  SQLiteConnection& connection_;
  bool notesRows_ = false;
  std::vector<ChangedRow> rows_;
};

}  // namespace velto
