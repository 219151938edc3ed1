// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <vector>

#include "platform/foundation/Error.h"
#include "platform/foundation/Mutex.h"
#include "platform/foundation/SerialQueue.h"
#include "platform/persistence/CommitObserver.h"
#include "platform/persistence/saving/BatchWriter.h"
#include "platform/persistence/saving/EndedSaves.h"
#include "platform/persistence/saving/SaveBatch.h"
#include "platform/persistence/saving/UnsyncedCommits.h"
#include "platform/persistence/sqlite/LogCheckpoints.h"
#include "platform/persistence/sqlite/SQLiteConnection.h"
#include "platform/persistence/sqlite/WriterTrust.h"

namespace velto {

/// The saves that wait for the writing connection, and their commits. A save that finds nobody at
/// work commits at once, on its own thread; where the last one shared its commit with others, which
/// are about to come again, it is left to a thread of the queue. What has come meanwhile is, too:
/// it applies all that wait, each whole or not at all, commits once, leaves the sync and then the
/// telling to other threads, and goes on until nothing waits. Whoever has committed also
/// checkpoints, when the log has become long; one that takes much room is emptied in a quiet
/// moment. Any thread. Once a sync has failed, nothing is written any more: see WriterTrust.
class CommitQueue {
 public:
  /// From now on the connection is used by the queue alone. `observer` hears of the commits; it may
  /// be null, and outlives the queue. A log that takes much room is emptied so long after that
  /// was found, and one that an earlier process has left soon. Throws std::system_error when there
  /// are no threads to be had.
  explicit CommitQueue(SQLiteConnection& connection, CommitObserver* observer = nullptr,
                       std::chrono::milliseconds quietTime = kQuietTime);
  /// Empties the log.
  ~CommitQueue();
  CommitQueue(const CommitQueue&) = delete;
  CommitQueue& operator=(const CommitQueue&) = delete;

  /// Writes all changes or none. `completion` is called without an error when all of them are on
  /// disk, the row ids and versions filled in; until it is called, the changes and what they point
  /// to stay untouched by others. It is called before `save` returns, or later on a thread of the
  /// queue, where the completions of other saves wait for it to return: so it must not wait for
  /// anything, nor throw. Without memory for a save it fails alone, with outOfMemory(); without
  /// memory to ask for it std::bad_alloc is thrown, and `completion` not called.
  void save(std::vector<RowChange>& changes, ErrorReply completion);

  /// Calls `work`, which must not throw, between two commits, or before the first: on this thread
  /// or another one, while all saves wait.
  void betweenCommits(std::function<void()> work);

  /// Why nothing is saved any more, as the last save has found; nothing when it could be.
  std::optional<Error> refusal() const { return ended_.refusal(); }
  SaveCounts counts() const { return ended_.counts(); }
  /// How many saves wait for the next commit.
  std::size_t waiting() const;
  /// What readers may see of what may still be lost.
  UnsyncedCommits& unsynced() { return unsynced_; }

 private:
  static constexpr std::chrono::seconds kQuietTime{10};
  /// By then a service is ready, and its first callers have been served.
  static constexpr std::chrono::milliseconds kStartTime{1000};

  bool takesTurn() VELTO_REQUIRES(mutex_);
  bool hasWork() const VELTO_REQUIRES(mutex_);
  bool isWorthwhile() const VELTO_REQUIRES(mutex_);
  bool keepTurn();
  void leadOnce() noexcept;
  void leaveToWriter();
  void lead() noexcept;
  SaveBatch takeWaiting();

  SaveBatch writeUnsynced(SaveBatch batch) noexcept;

  void awaitSyncs(int most);
  void leaveToSyncer(SaveBatch batch);
  void sync(SaveBatch& batch) noexcept;
  bool syncLog(std::span<Save> saves) noexcept;
  void giveUpFailed() noexcept;
  void leaveToTeller(SaveBatch batch);

  void tendLog() noexcept;
  void emptyLogLater(std::chrono::milliseconds time);
  void emptyLog() noexcept;

  // Used by whoever has the turn.
  SQLiteConnection& connection_;
  WriterTrust trust_;
  LogCheckpoints log_;
  bool empties_ = false;    ///< the log, at the end of this turn
  bool isToEmpty_ = false;  ///< some time later
  BatchWriter rows_;
  const std::chrono::milliseconds quietTime_;

  UnsyncedCommits unsynced_;
  EndedSaves ended_;  ///< noted by whoever has the turn, and by the syncer while it has batches

  mutable Mutex mutex_;
  std::vector<Save> waiting_ VELTO_GUARDED_BY(mutex_);
  std::vector<std::function<void()>> betweenCommits_ VELTO_GUARDED_BY(mutex_);
  bool isEmptyingDue_ VELTO_GUARDED_BY(mutex_) = false;     ///< the log is to be emptied, in a turn
  std::size_t lastSize_ VELTO_GUARDED_BY(mutex_) = 0;       ///< of a batch
  bool isTaken_ VELTO_GUARDED_BY(mutex_) = false;           ///< somebody has the turn
  int unsyncedBatches_ VELTO_GUARDED_BY(mutex_) = 0;        ///< left to the syncer
  std::vector<SaveBatch> failed_ VELTO_GUARDED_BY(mutex_);  ///< to sync
  std::condition_variable wakesWriter_;

  // The writer ends first, since it needs all the others, and the syncer next.
  SerialQueue teller_;
  SerialQueue syncer_;
  SerialQueue writer_;
};

}  // namespace velto
