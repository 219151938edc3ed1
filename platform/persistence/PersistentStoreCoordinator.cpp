// SPDX-License-Identifier: Apache-2.0
#include "platform/persistence/PersistentStoreCoordinator.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <future>
#include <new>
#include <system_error>
#include <utility>

#include <sqlite3.h>

#include "platform/persistence/EntitySql.h"
#include "platform/persistence/FetchQuery.h"
#include "platform/persistence/RowReading.h"
#include "platform/persistence/saving/CommitQueue.h"
#include "platform/persistence/sqlite/DataVersion.h"
#include "platform/persistence/sqlite/ReaderPool.h"
#include "platform/persistence/sqlite/SQLiteConnection.h"
#include "platform/persistence/sqlite/StoreFile.h"

namespace velto {

namespace {

/// How many rows of a long deletion go in one transaction, for which all others wait: as many as
/// take about this long. Fewer would write the same pages of the indexes again and again.
class DeletionPortion {
 public:
  std::size_t size() const { return size_; }
  void adapt(std::chrono::steady_clock::duration taken) {
    const auto fitting = static_cast<double>(size_) * (kTime / taken);
    const auto size = static_cast<double>(size_);
    size_ = std::clamp(static_cast<std::size_t>(std::clamp(fitting, size / 2, size * 2)), kLeast,
                       kMost);
  }

 private:
  static constexpr std::chrono::duration<double> kTime{0.025};
  static constexpr std::size_t kLeast = 250;
  static constexpr std::size_t kMost = 32768;
  std::size_t size_ = 1000;
};

/// The file's own path: absolute, which means a file to SQLite, whatever it looks like, and with
/// the links that lead to it followed, since the log is kept beside the file.
std::string absolutePath(const std::string& path) {
  std::error_code failed;
  std::filesystem::path absolute = std::filesystem::canonical(path, failed);
  if (failed) {
    absolute = std::filesystem::absolute(path, failed);
  }
  return failed ? path : absolute.string();
}

Error noStoreError() {
  return makeError(kPersistenceErrorDomain, kNoStoreErrorCode, "there is no store");
}

/// What a reader sees stays as it is from `begin` to the end of this object.
class ReadTransaction {
 public:
  explicit ReadTransaction(SQLiteConnection& reader) : reader_(reader) {}
  ~ReadTransaction() { reader_.rollBack(); }
  ReadTransaction(const ReadTransaction&) = delete;
  ReadTransaction& operator=(const ReadTransaction&) = delete;

  /// False when it cannot be had.
  bool begin() const noexcept {
    try {
      // It begins with the first statement that reads.
      return reader_.execute("BEGIN") && reader_.execute("SELECT 1 FROM sqlite_schema LIMIT 1");
    } catch (const std::bad_alloc&) {
      return false;
    }
  }

 private:
  SQLiteConnection& reader_;
};

}  // namespace

/// An open file. The readers close first, so that the writer, as the last, checkpoints the log.
struct PersistentStoreCoordinator::Store {
  Store(const std::string& path, std::unique_ptr<SQLiteConnection> connection,
        CommitObserver* observer)
      : writer(std::move(connection)),
        commits(*writer, observer),
        readers(path),
        version(readers) {}

  const std::unique_ptr<SQLiteConnection> writer;
  CommitQueue commits;
  ReaderPool readers;
  DataVersion version;
};

PersistentStoreCoordinator::PersistentStoreCoordinator(
    std::shared_ptr<const ManagedObjectModel> model, const DirectoryEntries& entries)
    : model_(std::move(model)),
      entries_(entries),
      sql_(model_->entities().begin(), model_->entities().end()) {}

PersistentStoreCoordinator::~PersistentStoreCoordinator() = default;

bool PersistentStoreCoordinator::addPersistentStore(
    const std::string& path, ErrorSlot error, const std::function<void(std::string_view)>& notice) {
  const std::string file = absolutePath(path);
  auto writer = StoreFile(file, *model_, sql_, entries_, notice).open(error);
  if (writer == nullptr) {
    return false;
  }
  try {
    store_ = std::make_unique<Store>(file, std::move(writer), observer_);
  } catch (const std::system_error& noThread) {
    replaceError(error, makeError(kPersistenceErrorDomain, kNoStoreErrorCode,
                                  file + ": no thread to save with: " + noThread.what()));
  }
  return store_ != nullptr;
}

const EntitySql& PersistentStoreCoordinator::sql(const EntityDescription& entity) const {
  return sql_[static_cast<std::size_t>(&entity - model_->entities().data())];
}

bool PersistentStoreCoordinator::fetch(const FetchQuery& query,
                                       const std::function<bool(const Statement&)>& row,
                                       ErrorSlot error) {
  if (store_ == nullptr) {
    replaceError(error, noStoreError());
    return false;
  }
  const ReaderPool::Reader reader = store_->readers.lend(error);
  if (reader == nullptr) {
    return false;
  }
  const bool isRead = readRows(query, *reader, store_->commits.unsynced(), row);
  if (!isRead) replaceError(error, reader->lastError());
  return isRead;
}

std::optional<std::size_t> PersistentStoreCoordinator::fetchRows(
    const EntityDescription& entity, std::span<const std::int64_t> rowIds,
    const std::function<bool(const Statement&)>& row, ErrorSlot error) {
  if (store_ == nullptr) {
    replaceError(error, noStoreError());
    return std::nullopt;
  }
  const ReaderPool::Reader reader = store_->readers.lend(error);
  if (reader == nullptr) {
    return std::nullopt;
  }
  const int placeColumn = static_cast<int>(entity.attributes().size()) + 2;
  std::size_t end = rowIds.size();
  const auto take = [&](const Statement& statement) {
    const bool goesOn = row(statement);
    if (!goesOn) end = static_cast<std::size_t>(statement.integer(placeColumn)) + 1;
    return goesOn;
  };
  const auto bind = [&](Statement& statement) { statement.bind(rowIds); };
  if (readRows(*reader, sql(entity).selectByRowIds, bind, store_->commits.unsynced(), take)) {
    return end;
  }
  replaceError(error, reader->lastError());
  return std::nullopt;
}

std::optional<std::int64_t> PersistentStoreCoordinator::dataVersion() {
  return store_ == nullptr ? std::nullopt : store_->version.get();
}

void PersistentStoreCoordinator::save(std::vector<RowChange>& changes, ErrorReply completion) {
  if (store_ == nullptr) {
    completion(noStoreError());
    return;
  }
  store_->commits.save(changes, [this, completion = std::move(completion)](auto error) {
    store_->version.noteCommit();
    completion(std::move(error));
  });
}

std::optional<std::vector<std::int64_t>> PersistentStoreCoordinator::rowIds(
    const FetchRequest& request, ErrorSlot error) {
  const FetchQuery query("SELECT _id FROM " + quoted(request.entityName()), request,
                         *model_->entity(request.entityName()), request.fetchLimit());
  std::vector<std::int64_t> found;
  const auto take = [&](const Statement& row) {
    found.push_back(row.integer(0));
    return true;
  };
  return fetch(query, take, error) ? std::optional(std::move(found)) : std::nullopt;
}

std::optional<Error> PersistentStoreCoordinator::refusal() const {
  return store_ == nullptr ? noStoreError() : store_->commits.refusal();
}

SaveCounts PersistentStoreCoordinator::saveCounts() const {
  return store_ == nullptr ? SaveCounts() : store_->commits.counts();
}

std::optional<std::int64_t> PersistentStoreCoordinator::freeSize() {
  const auto reader = store_ == nullptr ? ReaderPool::Reader() : store_->readers.lend(nullptr);
  if (reader == nullptr) return std::nullopt;
  const auto pages = reader->integer("PRAGMA freelist_count");
  const auto pageSize = reader->integer("PRAGMA page_size");
  return pages && pageSize ? std::optional(*pages * *pageSize) : std::nullopt;
}

/// What the reader sees is fixed between two commits; the counting itself holds up nobody.
std::optional<std::vector<std::int64_t>> PersistentStoreCoordinator::counts(
    std::span<const FetchRequest> requests, const std::function<void()>& moment, ErrorSlot error) {
  if (store_ == nullptr) {
    replaceError(error, noStoreError());
    return std::nullopt;
  }
  const ReaderPool::Reader reader = store_->readers.lend(error);
  if (reader == nullptr) return std::nullopt;
  const ReadTransaction transaction(*reader);
  // Shared, since whoever sets the result may still be at it when this thread has it already.
  const auto isFixed = std::make_shared<std::promise<bool>>();
  store_->commits.betweenCommits([&transaction, &moment, isFixed] {
    const bool isBegun = transaction.begin();
    if (isBegun) moment();
    isFixed->set_value(isBegun);
  });
  std::vector<std::int64_t> counts;
  const auto take = [&counts](const Statement& row) {
    counts.push_back(row.integer(0));
    return true;
  };
  bool isRead = isFixed->get_future().get();
  for (std::size_t index = 0; isRead && index < requests.size(); ++index) {
    const std::string& entity = requests[index].entityName();
    const FetchQuery query("SELECT COUNT(*) FROM " + quoted(entity), requests[index],
                           *model_->entity(entity), 0);
    isRead = readRows(query, *reader, store_->commits.unsynced(), take);
  }
  if (!isRead) replaceError(error, reader->lastError());
  return isRead ? std::optional(std::move(counts)) : std::nullopt;
}

std::uint64_t PersistentStoreCoordinator::deleteRows(const EntityDescription& entity,
                                                     std::span<const std::int64_t> rowIds,
                                                     ErrorSlot error) {
  std::uint64_t deleted = 0;
  DeletionPortion portion;
  while (!rowIds.empty()) {
    const auto begin = std::chrono::steady_clock::now();
    const auto few = rowIds.first(std::min(portion.size(), rowIds.size()));
    rowIds = rowIds.subspan(few.size());
    std::vector<RowChange> change{
        {RowChange::Kind::kDeleteMany, &sql(entity), 0, 0, nullptr, few, 0}};
    // Shared, since whoever sets the result may still be at it when this thread has it already.
    const auto result = std::make_shared<std::promise<std::optional<Error>>>();
    save(change, [result](auto failure) { result->set_value(std::move(failure)); });
    if (auto failure = result->get_future().get()) {
      replaceError(error, *std::move(failure));
      return deleted;
    }
    deleted += static_cast<std::uint64_t>(change.front().deleted);
    portion.adapt(std::chrono::steady_clock::now() - begin);
  }
  return deleted;
}

}  // namespace velto
