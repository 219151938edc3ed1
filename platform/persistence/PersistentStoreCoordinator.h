// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/foundation/Error.h"
#include "platform/persistence/CommitObserver.h"
#include "platform/persistence/ManagedObjectModel.h"
#include "platform/persistence/PersistenceErrors.h"
#include "platform/persistence/sqlite/DirectoryEntries.h"

namespace velto {

class FetchRequest;
class Statement;
struct EntitySql;
struct FetchQuery;
struct RowChange;

/// The door to one store file, shared by all contexts of the process. Owns the one connection that
/// writes and checkpoints, and a pool of reading connections. Synchronised itself: any thread, once
/// the store is added. At most one coordinator of the process has a file at a time.
///
/// Saves that wait for each other are committed together, each whole or not at all: see
/// CommitQueue.
///
/// A save that fails, on a full disk for instance, changes nothing and may be tried again. Only
/// when the file could not be synced, every further save fails: see CommitQueue.
class PersistentStoreCoordinator {
 public:
  /// `entries` outlives the coordinator.
  explicit PersistentStoreCoordinator(std::shared_ptr<const ManagedObjectModel> model,
                                      const DirectoryEntries& entries = DirectoryEntries::system());
  ~PersistentStoreCoordinator();
  PersistentStoreCoordinator(const PersistentStoreCoordinator&) = delete;
  PersistentStoreCoordinator& operator=(const PersistentStoreCoordinator&) = delete;

  /// Opens the SQLite store at `path`, creating the file (mode 0600) when it is missing or empty,
  /// in WAL mode with synchronous=FULL. False with an error that names the file when it cannot: it
  /// is then left as it was. A file of another model or another program is refused and not written
  /// to. Called once, before contexts use the coordinator.
  ///
  /// Waits 30 seconds for another program's lock. `notice` is told, in a line, when that takes more
  /// than a moment, and when a log is found beside the file that is not its own.
  bool addPersistentStore(const std::string& path, ErrorSlot error,
                          const std::function<void(std::string_view)>& notice = {});

  /// Hears of the commits. Set before the store is added, and outlives the coordinator.
  void setCommitObserver(CommitObserver& observer) { observer_ = &observer; }

  const ManagedObjectModel& model() const { return *model_; }

  /// Why nothing is saved any more, as the last save has found; nothing when it could be.
  std::optional<Error> refusal() const;
  SaveCounts saveCounts() const;
  /// The bytes of pages in the file that hold nothing; nothing when they cannot be told.
  std::optional<std::int64_t> freeSize();

  // For contexts.

  /// The statements for an entity of the model.
  const EntitySql& sql(const EntityDescription& entity) const;
  /// Calls `row` for the rows of the query, in order, all as of one moment, until it returns false.
  /// False with the error when they cannot be read.
  bool fetch(const FetchQuery& query, const std::function<bool(const Statement&)>& row,
             ErrorSlot error);
  /// Calls `row` for the rows of the entity with these ids, in their order, all as of one moment,
  /// until it returns false. A row that is gone by then is passed over. Returns how many ids were
  /// gone through, or nothing with the error.
  std::optional<std::size_t> fetchRows(const EntityDescription& entity,
                                       std::span<const std::int64_t> rowIds,
                                       const std::function<bool(const Statement&)>& row,
                                       ErrorSlot error);
  /// A number that is another one when something has been committed since: at once what a save of
  /// this process commits, within 10 ms what another program does. Nothing when it cannot be had.
  std::optional<std::int64_t> dataVersion();
  /// Writes all changes or none. `completion` is called without an error when all of them are on
  /// disk, with the row ids and versions that the rows have then; until it is called, the changes
  /// and what they point to stay untouched by others. It is called before `save` returns, or later
  /// on another thread, where the completions of other saves wait for it to return: so it must not
  /// wait for anything, nor throw.
  void save(std::vector<RowChange>& changes, ErrorReply completion);

  // For many records at once, past any context.

  /// How many records each of the requests finds, all as of one moment between two commits, at
  /// which `moment` is called, once, on any thread: it must not throw, and saves wait for it.
  /// Nothing with the error; `moment` may have been called then.
  std::optional<std::vector<std::int64_t>> counts(std::span<const FetchRequest> requests,
                                                  const std::function<void()>& moment,
                                                  ErrorSlot error);
  /// The row ids of what the request finds, in its order; nothing with the error.
  std::optional<std::vector<std::int64_t>> rowIds(const FetchRequest& request, ErrorSlot error);
  /// Deletes these rows, in their order and whatever their versions, in short transactions between
  /// which others are saved. A failure ends it, and what was deleted stays so. Returns how many
  /// there were to delete.
  std::uint64_t deleteRows(const EntityDescription& entity, std::span<const std::int64_t> rowIds,
                           ErrorSlot error);

 private:
  struct Store;

  const std::shared_ptr<const ManagedObjectModel> model_;
  const DirectoryEntries& entries_;
  const std::vector<EntitySql> sql_;  ///< in the order of the model's entities
  CommitObserver* observer_ = nullptr;
  std::unique_ptr<Store> store_;  ///< null until added
};

}  // namespace velto
