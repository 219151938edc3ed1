// SPDX-License-Identifier: Apache-2.0
// Group commit. A commit waits for one sync of the write-ahead log, which costs more than all that
// it writes, so saves that meet share one. One thread at a time leads: it has the turn.
//
//     free ───────────► saving thread    a save that finds the turn free commits at once
//     saving thread ──► writer           more have come meanwhile; this thread has a caller to go
//                                        back to, so the queue's own thread leads from now on
//     either ─────────► free             nothing waits any more
//
// The followers' threads do not wait here. Their saves are waiting, then in the leader's batch
// (also one that comes before the leader has taken its batch), then told: by the saving thread that
// led, or by the teller, while the writer is at the next batch.
//
// 1. Whoever has the turn, and nobody else, uses `connection_` and `distrust_`, without a lock. The
//    turn is taken, kept and given up under `mutex_`, and handed over by the writer's queue, so the
//    next one sees what the last one left.
// 2. As long as a save waits, somebody has the turn: it is given up only under the lock that shows
//    that nothing waits.
// 3. A save is told once, after its commit or the failure of it, and without a lock, so that a
//    completion may save again.
//
// A crash before the log is synced leaves the whole batch or nothing of it, since recovery ends at
// the last whole commit, and nobody was told. A crash after it leaves saves that nobody was told
// of. A crash within a checkpoint leaves the log, from which the next start does it once more.

#include "platform/persistence/CommitQueue.h"

#include <algorithm>
#include <memory>
#include <new>
#include <system_error>
#include <utility>

#include <sqlite3.h>

#include "platform/persistence/PersistenceErrors.h"

namespace velto {

namespace {

/// From this length on, in pages, the log is checkpointed after a commit. A longer one would hold
/// up fewer saves, but all of it is read and written at the next start.
constexpr int kLongLog = 2000;

}  // namespace

CommitQueue::CommitQueue(SQLiteConnection& connection) : connection_(connection) {
  if (!teller_.start() || !writer_.start()) {
    throw std::system_error(std::make_error_code(std::errc::resource_unavailable_try_again));
  }
}

void CommitQueue::save(std::vector<RowChange>& changes, ErrorReply completion) {
  {
    const MutexLock lock(mutex_);
    waiting_.push_back({&changes, std::move(completion), std::nullopt});
    if (isTaken_) {
      return;
    }
    isTaken_ = true;
  }
  takeTurn();
}

void CommitQueue::takeTurn() noexcept {
  {
    // Told, and let go, before the checkpoint, which takes long and is nothing to them.
    Batch batch = serveWaiting();
    tell(batch);
  }
  checkpointLongLog();
  if (keepTurn()) {
    leaveToWriter();
  }
}

/// Without memory for the hand-over, this thread goes on itself.
void CommitQueue::leaveToWriter() {
  try {
    if (writer_.perform([this] { goOn(); })) return;
  } catch (const std::bad_alloc&) {
  }
  goOn();
}

/// The writer's: goes on until nothing waits.
void CommitQueue::goOn() {
  do {
    leaveToTeller(serveWaiting());
    checkpointLongLog();
  } while (keepTurn());
}

CommitQueue::Batch CommitQueue::serveWaiting() {
  Batch batch = takeWaiting();
  serve(batch);
  return batch;
}

/// Without memory for the hand-over, this thread tells of the batch itself.
void CommitQueue::leaveToTeller(Batch batch) {
  std::shared_ptr<Batch> handed;
  try {
    handed = std::make_shared<Batch>(std::move(batch));
    if (teller_.perform([handed] { tell(*handed); })) return;
  } catch (const std::bad_alloc&) {
  }
  tell(handed != nullptr ? *handed : batch);
}

void CommitQueue::tell(Batch& batch) {
  for (Save& save : batch) {
    save.completion(std::move(save.error));
  }
}

/// Gives the turn up when nothing waits.
bool CommitQueue::keepTurn() {
  const MutexLock lock(mutex_);
  isTaken_ = !waiting_.empty();
  return isTaken_;
}

CommitQueue::Batch CommitQueue::takeWaiting() {
  const MutexLock lock(mutex_);
  return std::exchange(waiting_, {});
}

std::size_t CommitQueue::waiting() const {
  const MutexLock lock(mutex_);
  return waiting_.size();
}

void CommitQueue::serve(Batch& batch) {
  std::optional<Error> failure = distrust_;
  if (!failure && !commit(batch)) {
    // The error first, then the rollback, which has a result of its own.
    failure = connection_.lastError();
    distrustAfterFailedSync();
    connection_.rollBack();
  }
  if (!failure) {
    return;
  }
  for (Save& save : batch) {
    if (!save.error) {
      save.error = failure;
    }
  }
}

/// When it fails, the transaction may be left open.
bool CommitQueue::commit(Batch& batch) {
  return connection_.execute("BEGIN IMMEDIATE") && applyAll(batch) && end(batch);
}

/// What is committed is safe in the log, so a failure is none of the saves; the next commit tries
/// again.
void CommitQueue::checkpointLongLog() {
  if (!distrust_ && connection_.logPages() >= kLongLog && !connection_.checkpoint()) {
    distrustAfterFailedSync();
  }
}

void CommitQueue::distrustAfterFailedSync() {
  if (connection_.lastError().code == SQLITE_IOERR_FSYNC) {
    distrust_ = makeError(kPersistenceErrorDomain, kUntrustedStoreErrorCode,
                          connection_.path() +
                              ": a sync has failed, so nothing is saved any more until the service "
                              "is started again");
    connection_.setReadOnly();
  }
}

/// False when the transaction as a whole cannot go on.
bool CommitQueue::applyAll(Batch& batch) {
  return std::all_of(batch.begin(), batch.end(), [this](Save& save) { return apply(save); });
}

bool CommitQueue::apply(Save& save) {
  if (!connection_.execute("SAVEPOINT save")) {
    return false;
  }
  save.error = write(*save.changes);
  // Some errors make SQLite roll back everything, and the saves before this one with it.
  if (save.error && !(connection_.inTransaction() && connection_.execute("ROLLBACK TO save"))) {
    return false;
  }
  return connection_.execute("RELEASE save");
}

bool CommitQueue::end(const Batch& batch) {
  const bool allFailed = std::all_of(batch.begin(), batch.end(),
                                     [](const Save& save) { return save.error.has_value(); });
  return connection_.execute(allFailed ? "ROLLBACK" : "COMMIT");
}

std::optional<Error> CommitQueue::write(std::vector<RowChange>& changes) {
  for (RowChange& change : changes) {
    if (std::optional<Error> error = write(change)) {
      return error;
    }
  }
  return std::nullopt;
}

std::optional<Error> CommitQueue::write(RowChange& change) {
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
  ++change.version;
  return std::nullopt;
}

}  // namespace velto
