#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/foundation/Error.h"
#include "platform/foundation/Mutex.h"
#include "platform/persistence/AttributeValue.h"
#include "platform/persistence/EntitySql.h"
#include "platform/persistence/SQLiteConnection.h"

namespace velto {

/// One row to write.
struct RowChange {
  enum class Kind { kInsert, kUpdate, kDelete };

  Kind kind;
  const EntitySql* sql;
  /// An insert gets the new row's.
  std::int64_t rowId;
  /// What an updated or deleted row must still have; afterwards what the row has now.
  std::int64_t version;
  const std::vector<AttributeValue>* values;
};

/// The saves that wait for the writing connection, and their commits. The first save to arrive
/// leads: it applies all that wait, each in a savepoint of its own, commits once and wakes them;
/// those that arrive meanwhile wait, and one of them leads next. The leader also checkpoints, when
/// the log has become long. Any thread.
///
/// Once the file or its log could not be synced, nothing is written any more. The system may have
/// given up the pages that it could not write and yet let the next sync succeed, so no later
/// success would mean anything. Opening the file anew ends this state.
class CommitQueue {
 public:
  /// From now on the connection is used by the queue alone.
  explicit CommitQueue(SQLiteConnection& connection);
  CommitQueue(const CommitQueue&) = delete;
  CommitQueue& operator=(const CommitQueue&) = delete;

  /// Writes all changes or none; true when they are on disk, with the row ids and versions filled
  /// in. The changes and what they point to stay untouched by others until it returns.
  bool save(std::vector<RowChange>& changes, ErrorSlot error);

  /// How many saves wait for the next commit.
  std::size_t waiting() const;

 private:
  struct Save {
    std::vector<RowChange>& changes;
    std::optional<Error> error;
    bool served = false;
    /// Its thread's, to be woken when it has been served or may lead.
    std::shared_ptr<std::condition_variable> turn = turnOfThread();
  };
  using Batch = std::vector<Save*>;

  static const std::shared_ptr<std::condition_variable>& turnOfThread();
  bool joinOrLead(Save& own);
  void lead(const Save& own);
  Batch takeWaiting();
  void serve(const Batch& batch);
  bool commit(const Batch& batch);
  void checkpointLongLog();
  void distrustAfterFailedSync();
  bool applyAll(const Batch& batch);
  bool apply(Save& save);
  bool end(const Batch& batch);
  std::optional<Error> write(std::vector<RowChange>& changes);
  std::optional<Error> write(RowChange& change);

  // The leader's.
  SQLiteConnection& connection_;
  std::optional<Error> distrust_;  ///< why nothing is written any more

  mutable Mutex mutex_;
  Batch waiting_ VELTO_GUARDED_BY(mutex_);
  bool led_ VELTO_GUARDED_BY(mutex_) = false;  ///< a leader is at work
};

}  // namespace velto
