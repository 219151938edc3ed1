// SPDX-License-Identifier: Apache-2.0
#include "platform/persistence/saving/BatchWriter.h"

#include <algorithm>
#include <new>
#include <vector>

namespace velto {
namespace {

/// Of the first saves, those with one new row each, as many as go in one statement.
std::vector<RowChange*> firstInserts(std::span<Save> saves) {
  std::vector<RowChange*> inserts;
  for (const Save& save : saves) {
    std::vector<RowChange>& changes = *save.changes;
    if (changes.size() != 1 || !isInsertedWith(inserts, changes.front())) break;
    inserts.push_back(&changes.front());
  }
  return inserts;
}

}  // namespace

void BatchWriter::write(std::span<Save> saves) noexcept {
  if (saves.empty()) return;
  try {
    writeTogether(saves, nullptr);
    ended_.note(saves, rows_.rows());
  } catch (const std::bad_alloc&) {
    writeOneByOne(saves);
  }
}

void BatchWriter::writeOneByOne(std::span<Save> saves) noexcept {
  for (Save& save : saves) {
    const std::span<Save> alone(&save, 1);
    try {
      writeTogether(alone, nullptr);
    } catch (const std::bad_alloc&) {
      save.error = outOfMemory();
    }
    ended_.note(alone, rows_.rows());
  }
  connection_.rollBack();
}

bool BatchWriter::writeUnsynced(SaveBatch& batch) noexcept {
  try {
    writeTogether(batch.saves, &batch);
    batch.rows = rows_.takeRows();
    return true;
  } catch (const std::bad_alloc&) {
    return false;
  }
}

/// When it throws, none of the saves has been written, and the transaction may be left open: there
/// may be no memory to roll it back.
void BatchWriter::writeTogether(std::span<Save> saves, SaveBatch* unsynced) {
  connection_.rollBack();
  rows_.begin(ended_.wantsRows());
  const Error* const refusal = trust_.refusal();
  if (refusal != nullptr) {
    fail(saves, *refusal);
  } else if (!connection_.execute("BEGIN IMMEDIATE") || !applyAll(saves) || !end(saves, unsynced)) {
    // The error first, then the rollback, which has a result of its own.
    const Error failure = connection_.lastError();
    trust_.noteFailure();
    connection_.rollBack();
    fail(saves, failure);
  }
  ended_.noteRefusal(refusal == nullptr ? trust_.lastingRefusal() : refusal);
}

/// Saves of one new row each, which are nearly all, go several in a statement. False when the
/// transaction as a whole cannot go on.
bool BatchWriter::applyAll(std::span<Save> saves) {
  for (std::span<Save> rest = saves; !rest.empty();) {
    const std::vector<RowChange*> inserts = firstInserts(rest);
    const bool areTogether = inserts.size() > 1;
    if (areTogether && rows_.insert(inserts)) return applyEach(saves);
    if (!areTogether && !apply(rest.front())) return false;
    rest = rest.subspan(areTogether ? inserts.size() : 1);
  }
  return true;
}

/// Once more from the beginning: which save has failed shows when each is tried by itself.
bool BatchWriter::applyEach(std::span<Save> saves) {
  connection_.rollBack();
  rows_.forgetRows(0);
  return connection_.execute("BEGIN IMMEDIATE") &&
         std::all_of(saves.begin(), saves.end(), [this](Save& save) { return apply(save); });
}

/// A statement is undone by itself when it fails, so a save of one row needs no savepoint.
bool BatchWriter::apply(Save& save) {
  const bool needsSavepoint = save.changes->size() > 1;
  if (needsSavepoint && !connection_.execute("SAVEPOINT save")) {
    return false;
  }
  const std::size_t before = rows_.rows().size();
  save.error = rows_.write(*save.changes);
  if (save.error) rows_.forgetRows(before);
  // Some errors make SQLite roll back everything, and the saves before this one with it.
  if (save.error && !connection_.inTransaction()) return false;
  if (!needsSavepoint) return true;
  return (!save.error || connection_.execute("ROLLBACK TO save")) &&
         connection_.execute("RELEASE save");
}

bool BatchWriter::end(std::span<const Save> saves, SaveBatch* unsynced) {
  const bool allFailed = std::all_of(saves.begin(), saves.end(),
                                     [](const Save& save) { return save.error.has_value(); });
  if (allFailed) return connection_.execute("ROLLBACK");
  return unsynced != nullptr ? commitUnsynced(*unsynced) : connection_.execute("COMMIT");
}

bool BatchWriter::commitUnsynced(SaveBatch& batch) {
  using Committed = SQLiteConnection::Committed;
  batch.before = logIndexHeader(connection_);
  unsynced_.begin();
  Committed result = Committed::kNot;
  try {
    result = connection_.commitUnsynced();
  } catch (const std::bad_alloc&) {
    unsynced_.drop();
    throw;
  }
  batch.isUnsynced = result == Committed::kUnsynced;
  if (!batch.isUnsynced) unsynced_.drop();
  return result != Committed::kNot;
}

}  // namespace velto
