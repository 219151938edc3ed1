// SPDX-License-Identifier: Apache-2.0
// Group commit. A commit waits for one sync of the write-ahead log, which costs more than all that
// it writes, so saves that meet share one. One thread at a time leads: it has the turn.
//
//     free ───────────► saving thread    a save that finds the turn free commits at once
//     free ───────────► writer           the same where the last commit was one of many
//     saving thread ──► writer           more have come meanwhile; this thread has a caller to go
//                                        back to, so the queue's own thread leads from now on
//     either ─────────► free             nothing waits any more, and no sync is left
//
// The followers' threads do not wait here. Their saves are waiting, then in the leader's batch
// (also one that comes before the leader has taken its batch), then told. A saving thread that
// leads does all of that. The writer only commits, and is at the next batch while the syncer makes
// the last one lasting; the teller tells it then. Of callers that were told together most are about
// to come again: as long as a batch syncs, the next one is begun when it has half as many.
//
// 1. Whoever has the turn, and nobody else, uses `connection_`, `trust_`, `log_` and `rows_`,
//    without a lock; of the connection the syncer uses `syncLog` alone. The turn is taken, kept and
//    given up under `mutex_`, and handed over by the writer's queue, so the next one sees what the
//    last one left.
// 2. As long as a save waits, somebody has the turn: it is given up only under the lock that shows
//    that nothing waits.
// 3. A save is told once, after its commit or the failure of it, and without a lock, so that a
//    completion may save again.
//
// 4. Readers can see a commit before it is synced, and wait for that before they tell anybody: see
//    UnsyncedCommits. When the sync fails, all that is unsynced is taken back and fails, so a save
//    that failed is in no answer.
// 5. Memory may run out anywhere. The turn is kept and given up without any, a batch that there is
//    no memory for is tried save by save, and a save that there is none for fails alone.
//
// A crash before the log is synced leaves the whole batch or nothing of it, since recovery ends at
// the last whole commit, and nobody was told. A crash after it leaves saves that nobody was told
// of. A crash within a checkpoint leaves the log, from which the next start does it once more.

#include "platform/persistence/saving/CommitQueue.h"

#include <algorithm>
#include <new>
#include <system_error>
#include <utility>

#include "platform/persistence/sqlite/LogIndex.h"
#include "platform/persistence/sqlite/WriteAheadLog.h"

namespace velto {

CommitQueue::CommitQueue(SQLiteConnection& connection, CommitObserver* observer,
                         std::chrono::milliseconds quietTime)
    : connection_(connection),
      trust_(connection),
      log_(connection),
      rows_(connection, trust_, unsynced_, ended_),
      quietTime_(quietTime),
      ended_(observer) {
  failed_.reserve(kMostUnsyncedCommits);
  if (!teller_.start() || !syncer_.start() || !writer_.start()) {
    throw std::system_error(std::make_error_code(std::errc::resource_unavailable_try_again));
  }
  if (log_.wantsEmptying()) {
    emptyLogLater(std::min(quietTime_, kStartTime));
  }
}

CommitQueue::~CommitQueue() {
  emptyLog();
}

void CommitQueue::save(std::vector<RowChange>& changes, ErrorReply completion) {
  bool isAlone = false;
  {
    const MutexLock lock(mutex_);
    waiting_.push_back({&changes, std::move(completion)});
    if (!takesTurn()) return;
    isAlone = lastSize_ <= 1;
  }
  isAlone ? leadOnce() : leaveToWriter();
}

void CommitQueue::betweenCommits(std::function<void()> work) {
  {
    const MutexLock lock(mutex_);
    betweenCommits_.push_back(std::move(work));
    if (!takesTurn()) return;
  }
  leadOnce();
}

/// In a turn of its own, or the one that somebody has.
void CommitQueue::emptyLog() noexcept {
  {
    const MutexLock lock(mutex_);
    isEmptyingDue_ = true;
    if (!takesTurn()) return;
  }
  leadOnce();
}

std::size_t CommitQueue::waiting() const {
  const MutexLock lock(mutex_);
  return waiting_.size();
}

/// False when somebody has it, who will find what there is to do.
bool CommitQueue::takesTurn() {
  if (isWorthwhile()) wakesWriter_.notify_one();
  return !std::exchange(isTaken_, true);
}

bool CommitQueue::hasWork() const {
  return !waiting_.empty() || !betweenCommits_.empty() || isEmptyingDue_ || !failed_.empty();
}

/// Whether there is enough to begin with it before the sync under way has ended.
bool CommitQueue::isWorthwhile() const {
  return hasWork() && (waiting_.empty() || 2 * waiting_.size() >= lastSize_);
}

/// Gives the turn up when there is nothing to do, and nothing that could fail is under way.
bool CommitQueue::keepTurn() {
  MutexLock lock(mutex_);
  while (!isWorthwhile() && unsyncedBatches_ != 0) {
    lock.wait(wakesWriter_);
  }
  isTaken_ = hasWork();
  return isTaken_;
}

/// A saving thread's turn.
void CommitQueue::leadOnce() noexcept {
  {
    // Told, and let go, before the checkpoint, which takes long and is nothing to them.
    SaveBatch batch = takeWaiting();
    rows_.write(batch.saves);
    tell(batch.saves);
  }
  tendLog();
  if (keepTurn()) {
    leaveToWriter();
  }
}

/// Without memory for the hand-over, this thread goes on itself.
void CommitQueue::leaveToWriter() {
  try {
    if (writer_.perform([this] { lead(); })) return;
  } catch (const std::bad_alloc&) {
  }
  lead();
}

/// The writer's turn: goes on until nothing waits. One batch syncs and another one waits for that;
/// a third one would only be smaller than it could be.
void CommitQueue::lead() noexcept {
  do {
    awaitSyncs(kMostUnsyncedCommits - 1);
    leaveToSyncer(writeUnsynced(takeWaiting()));
    tendLog();
  } while (keepTurn());
}

SaveBatch CommitQueue::takeWaiting() {
  std::vector<std::function<void()>> works;
  SaveBatch batch;
  bool hasFailed = false;
  {
    const MutexLock lock(mutex_);
    works.swap(betweenCommits_);
    batch.saves.swap(waiting_);
    lastSize_ = batch.saves.size();
    empties_ = std::exchange(isEmptyingDue_, false);
    hasFailed = !failed_.empty();
  }
  if (hasFailed || !works.empty()) {
    awaitSyncs(0);
    giveUpFailed();
  }
  for (const auto& work : works) {
    work();
  }
  return batch;
}

/// What is still to be synced and told.
SaveBatch CommitQueue::writeUnsynced(SaveBatch batch) noexcept {
  if (batch.saves.empty() || rows_.writeUnsynced(batch)) return batch;
  // One by one, and without a thread that would need memory too.
  awaitSyncs(0);
  rows_.write(batch.saves);
  tell(batch.saves);
  return {};
}

void CommitQueue::awaitSyncs(int most) {
  MutexLock lock(mutex_);
  while (unsyncedBatches_ > most) {
    lock.wait(wakesWriter_);
  }
}

/// Without memory for the hand-over, this thread does what the syncer would.
void CommitQueue::leaveToSyncer(SaveBatch batch) {
  if (batch.saves.empty()) return;
  {
    const MutexLock lock(mutex_);
    ++unsyncedBatches_;
  }
  if (handOver(syncer_, batch, [this](SaveBatch& handed) { sync(handed); })) return;
  awaitSyncs(1);
  sync(batch);
}

/// The syncer's: also a batch that needs no sync is told in its place.
void CommitQueue::sync(SaveBatch& batch) noexcept {
  const bool isLost = batch.isUnsynced && !syncLog(batch.saves);
  if (!isLost) {
    if (batch.isUnsynced) unsynced_.noteSynced();
    ended_.note(batch.saves, batch.rows);
  }
  {
    const MutexLock lock(mutex_);
    --unsyncedBatches_;
    if (isLost) failed_.push_back(std::move(batch));
  }
  wakesWriter_.notify_one();
  if (!isLost) leaveToTeller(std::move(batch));
}

bool CommitQueue::syncLog(std::span<Save> saves) noexcept {
  try {
    const auto failure = connection_.syncLog();
    if (failure) fail(saves, *failure);
    return !failure;
  } catch (const std::bad_alloc&) {
    for (Save& save : saves) {
      save.error = outOfMemory();
    }
    return false;
  }
}

/// Nobody has been told of what could not be synced, and from now on nobody sees it.
void CommitQueue::giveUpFailed() noexcept {
  std::vector<SaveBatch> failed;
  {
    const MutexLock lock(mutex_);
    failed.swap(failed_);
  }
  if (failed.empty()) return;
  try {
    takeBackCommits(connection_, failed.front().before, static_cast<unsigned>(failed.size()));
  } catch (const std::bad_alloc&) {
  }
  trust_.noteFailedSync();
  unsynced_.dropAll();
  ended_.noteRefusal(trust_.lastingRefusal());
  for (SaveBatch& batch : failed) {
    ended_.note(batch.saves, {});
    leaveToTeller(std::move(batch));
  }
}

/// Without memory for the hand-over, this thread tells of the batch itself.
void CommitQueue::leaveToTeller(SaveBatch batch) {
  const auto work = [](SaveBatch& handed) { tell(handed.saves); };
  if (!handOver(teller_, batch, work)) work(batch);
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
    emptyLogLater(quietTime_);
  }
}

void CommitQueue::emptyLogLater(std::chrono::milliseconds time) {
  isToEmpty_ = true;
  writer_.performAfter(time, [this] { emptyLog(); });
}

}  // namespace velto
