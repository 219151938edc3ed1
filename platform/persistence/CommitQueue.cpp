// SPDX-License-Identifier: Apache-2.0
// Group commit. A commit waits for one sync of the write-ahead log, which costs more than all that
// it writes, so saves that meet share one. One thread at a time leads: it has the turn.
//
//     free ───────────► saving thread    a save that finds the turn free commits at once
//     free ───────────► writer           the same where the last commit was one of many
//     saving thread ──► writer           more have come meanwhile; this thread has a caller to go
//                                        back to, so the queue's own thread leads from now on
//     either ─────────► free             nothing waits any more
//
// The followers' threads do not wait here. Their saves are waiting, then in the leader's batch
// (also one that comes before the leader has taken its batch), then told: by the saving thread that
// led, or by the teller, while the writer is at the next batch.
//
// 1. Whoever has the turn, and nobody else, uses `connection_`, `trust_` and `log_`, without a
//    lock. The turn is taken, kept and given up under `mutex_`, and handed over by the writer's
//    queue, so the next one sees what the last one left.
// 2. As long as a save waits, somebody has the turn: it is given up only under the lock that shows
//    that nothing waits.
// 3. A save is told once, after its commit or the failure of it, and without a lock, so that a
//    completion may save again.
//
// 4. Memory may run out anywhere. The turn is kept and given up without any, a batch that there is
//    no memory for is tried save by save, and a save that there is none for fails alone.
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

CommitQueue::CommitQueue(SQLiteConnection& connection, CommitObserver* observer,
                         std::chrono::milliseconds quietTime)
    : connection_(connection),
      trust_(connection),
      log_(connection),
      rows_(connection),
      observer_(observer),
      quietTime_(quietTime) {
  if (!teller_.start() || !writer_.start()) {
    throw std::system_error(std::make_error_code(std::errc::resource_unavailable_try_again));
  }
  if (log_.wantsEmptying()) {
    emptyLogLater();
  }
}

CommitQueue::~CommitQueue() {
  emptyLog();
}

void CommitQueue::save(std::vector<RowChange>& changes, ErrorReply completion) {
  bool isAlone = false;
  {
    const MutexLock lock(mutex_);
    waiting_.push_back({&changes, std::move(completion), std::nullopt});
    if (std::exchange(isTaken_, true)) return;
    isAlone = !hadCompany_;
  }
  isAlone ? takeTurn() : leaveToWriter();
}

void CommitQueue::betweenCommits(std::function<void()> work) {
  {
    const MutexLock lock(mutex_);
    betweenCommits_.push_back(std::move(work));
    if (std::exchange(isTaken_, true)) return;
  }
  takeTurn();
}

void CommitQueue::takeTurn() noexcept {
  {
    // Told, and let go, before the checkpoint, which takes long and is nothing to them.
    Batch batch = serveWaiting();
    tell(batch);
  }
  tendLog();
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
    tendLog();
  } while (keepTurn());
}

CommitQueue::Batch CommitQueue::serveWaiting() {
  Batch batch = takeWaiting();
  if (!batch.empty()) serve(batch);
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
  for (Save& save : batch)
    save.completion(std::move(save.error));
}

/// Gives the turn up when nothing waits.
bool CommitQueue::keepTurn() {
  const MutexLock lock(mutex_);
  isTaken_ = !waiting_.empty() || !betweenCommits_.empty() || isEmptyingDue_;
  return isTaken_;
}

CommitQueue::Batch CommitQueue::takeWaiting() {
  std::vector<std::function<void()>> works;
  Batch batch;
  {
    const MutexLock lock(mutex_);
    works.swap(betweenCommits_);
    batch.swap(waiting_);
    hadCompany_ = batch.size() > 1;
    empties_ = std::exchange(isEmptyingDue_, false);
  }
  for (const auto& work : works) {
    work();
  }
  return batch;
}

std::size_t CommitQueue::waiting() const {
  const MutexLock lock(mutex_);
  return waiting_.size();
}

void CommitQueue::serve(Batch& batch) noexcept {
  try {
    serveTogether(batch);
    return;
  } catch (const std::bad_alloc&) {
    connection_.rollBack();
  }
  for (Save& save : batch) {
    try {
      serveTogether({&save, 1});
    } catch (const std::bad_alloc&) {
      connection_.rollBack();
      save.error = outOfMemory();
    }
  }
}

/// When it throws, none of the saves has been written.
void CommitQueue::serveTogether(std::span<Save> saves) {
  const Error* const refusal = trust_.refusal();
  std::optional<Error> failure = refusal == nullptr ? std::nullopt : std::optional(*refusal);
  if (!failure && !commit(saves)) {
    // The error first, then the rollback, which has a result of its own.
    failure = connection_.lastError();
    trust_.noteFailure();
    connection_.rollBack();
  }
  std::int64_t changed = 0;
  for (Save& save : saves) {
    if (!failure && !save.error) {
      changed += settle(save);
    } else if (failure && !save.error) {
      save.error = failure;
    }
  }
  if (changed != 0 && observer_ != nullptr) {
    observer_->noteCommit(static_cast<std::uint64_t>(changed), rows_.rows());
  }
  noteEnd(saves, refusal);
}

/// Before anybody is told, so that whoever asks then is not told less.
void CommitQueue::noteEnd(std::span<const Save> saves, const Error* refusal) noexcept {
  const MutexLock lock(mutex_);
  for (const Save& save : saves) {
    if (isConflict(save.error)) continue;
    ++counts_.all;
    if (save.error) ++counts_.failed;
  }
  refusal_ = refusal == nullptr ? trust_.lastingRefusal() : refusal;
}

std::optional<Error> CommitQueue::refusal() const {
  const MutexLock lock(mutex_);
  return refusal_ == nullptr ? std::nullopt : std::optional(*refusal_);
}

SaveCounts CommitQueue::counts() const {
  const MutexLock lock(mutex_);
  return counts_;
}

/// When it fails, the transaction may be left open: also one for which there was no memory to roll
/// it back.
bool CommitQueue::commit(std::span<Save> saves) {
  connection_.rollBack();
  rows_.begin(observer_ != nullptr && observer_->wantsRows());
  return connection_.execute("BEGIN IMMEDIATE") && applyAll(saves) && end(saves);
}

/// What the rows have now. Not before they are committed: a save may be tried again. Returns how
/// many they are.
std::int64_t CommitQueue::settle(const Save& save) {
  std::int64_t rows = 0;
  for (RowChange& change : *save.changes) {
    ++change.version;
    rows += change.rows();
  }
  return rows;
}

/// What is committed is safe in the log, so a failure is none of the saves.
void CommitQueue::tendLog() noexcept {
  if (trust_.lastingRefusal() != nullptr) return;
  try {
    if (!(empties_ ? log_.empty() : log_.copyLongLog())) trust_.noteFailure();
  } catch (const std::bad_alloc&) {
    // The next commit tries again.
  }
  isToEmpty_ = isToEmpty_ && !empties_;
  if (!isToEmpty_ && log_.wantsEmptying()) {
    emptyLogLater();
  }
}

void CommitQueue::emptyLogLater() {
  isToEmpty_ = true;
  writer_.performAfter(quietTime_, [this] { emptyLog(); });
}

/// In a turn of its own, or the one that somebody has.
void CommitQueue::emptyLog() noexcept {
  {
    const MutexLock lock(mutex_);
    isEmptyingDue_ = true;
    if (std::exchange(isTaken_, true)) return;
  }
  takeTurn();
}

/// False when the transaction as a whole cannot go on.
bool CommitQueue::applyAll(std::span<Save> saves) {
  return std::all_of(saves.begin(), saves.end(), [this](Save& save) { return apply(save); });
}

/// A statement is undone by itself when it fails, so a save of one row needs no savepoint.
bool CommitQueue::apply(Save& save) {
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

bool CommitQueue::end(std::span<const Save> saves) {
  const bool allFailed = std::all_of(saves.begin(), saves.end(),
                                     [](const Save& save) { return save.error.has_value(); });
  return connection_.execute(allFailed ? "ROLLBACK" : "COMMIT");
}

}  // namespace velto
