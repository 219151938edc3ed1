// SPDX-License-Identifier: Apache-2.0
#include "platform/persistence/sqlite/SQLiteConnection.h"

#include <chrono>
#include <new>
#include <thread>
#include <utility>

#include <sqlite3.h>

#include "platform/persistence/PersistenceErrors.h"
#include "platform/persistence/sqlite/ListTables.h"

namespace velto {

namespace {

/// How long a save waits for another program's write lock.
constexpr int kWriterBusyMilliseconds = 5000;
/// How long a start waits, how long it says nothing of that, and how long until it looks again.
constexpr std::chrono::milliseconds kStartBusyTime{30000};
constexpr std::chrono::milliseconds kPatience{500};
constexpr std::chrono::milliseconds kPause{20};
/// Readers meet a lock only while another program recovers or closes the file.
constexpr int kReaderBusyMilliseconds = 1000;

}  // namespace

std::unique_ptr<SQLiteConnection> SQLiteConnection::open(const std::string& path, Role role,
                                                         ErrorSlot error,
                                                         std::function<void()> waits) {
  // Nobody asks SQLite how much memory it uses, and counting takes a lock at every allocation. Only
  // the first call of a process counts.
  sqlite3_config(SQLITE_CONFIG_MEMSTATUS, 0);
  auto logWrites = role == Role::kWriter ? std::make_unique<GatheredLogWrites>() : nullptr;
  sqlite3* database = nullptr;
  const int result = sqlite3_open_v2(
      path.c_str(), &database, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_EXRESCODE,
      logWrites == nullptr ? nullptr : logWrites->name().c_str());
  std::unique_ptr<SQLiteConnection> connection(
      new SQLiteConnection(path, std::move(logWrites), database));
  connection->waits_ = std::move(waits);
  if (checkedForMemory(result) != SQLITE_OK || !connection->configure(role)) {
    replaceError(error, connection->lastError());
    return nullptr;
  }
  return connection;
}

SQLiteConnection::SQLiteConnection(std::string path, std::unique_ptr<GatheredLogWrites> logWrites,
                                   sqlite3* database)
    : path_(std::move(path)), logWrites_(std::move(logWrites)), database_(database) {}

SQLiteConnection::~SQLiteConnection() {
  statements_.clear();
  sqlite3_close(database_);
}

void SQLiteConnection::Finalize::operator()(sqlite3_stmt* statement) const {
  sqlite3_finalize(statement);
}

bool SQLiteConnection::configure(Role role) {
  // In place of SQLite's own hook, which checkpoints.
  sqlite3_wal_hook(
      database_,
      [](void* connection, sqlite3*, const char*, int pages) {
        static_cast<SQLiteConnection*>(connection)->logPages_ = pages;
        return SQLITE_OK;
      },
      this);
  if (role == Role::kReader) {
    return sqlite3_busy_timeout(database_, kReaderBusyMilliseconds) == SQLITE_OK && setReadOnly() &&
           checkedForMemory(registerListTables(database_)) == SQLITE_OK;
  }
  return sqlite3_busy_handler(
             database_,
             [](void* connection, int attempt) {
               return static_cast<SQLiteConnection*>(connection)->waitForLock(attempt) ? 1 : 0;
             },
             this) == SQLITE_OK &&
         checkedForMemory(registerListTables(database_)) == SQLITE_OK &&
         execute("PRAGMA synchronous=FULL");
}

/// False when it has been waited for long enough.
bool SQLiteConnection::waitForLock(int attempt) {
  if (attempt == kPatience / kPause && waits_) {
    std::exchange(waits_, nullptr)();
  }
  std::this_thread::sleep_for(kPause);
  return (attempt + 1) * kPause < kStartBusyTime;
}

void SQLiteConnection::setStarted() {
  sqlite3_busy_timeout(database_, kWriterBusyMilliseconds);
}

bool SQLiteConnection::setReadOnly() {
  return sqlite3_db_config(database_, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr) == SQLITE_OK &&
         execute("PRAGMA query_only=1");
}

std::optional<int> SQLiteConnection::checkpoint() {
  int pages = 0;
  int copied = 0;
  const int result =
      sqlite3_wal_checkpoint_v2(database_, "main", SQLITE_CHECKPOINT_PASSIVE, &pages, &copied);
  return result == SQLITE_OK ? std::optional(pages - copied) : std::nullopt;
}

SQLiteConnection::Emptied SQLiteConnection::emptyLog() {
  sqlite3_busy_timeout(database_, 0);
  const int result =
      sqlite3_wal_checkpoint_v2(database_, "main", SQLITE_CHECKPOINT_TRUNCATE, nullptr, nullptr);
  sqlite3_busy_timeout(database_, kWriterBusyMilliseconds);
  if (result == SQLITE_OK) logPages_ = 0;
  return result == SQLITE_OK              ? Emptied::kYes
         : (result & 0xff) == SQLITE_BUSY ? Emptied::kHeldBack
                                          : Emptied::kFailed;
}

bool SQLiteConnection::hasMoved() const {
  int moved = 0;
  return sqlite3_file_control(database_, "main", SQLITE_FCNTL_HAS_MOVED, &moved) == SQLITE_OK &&
         moved != 0;
}

void SQLiteConnection::rollBack() noexcept {
  try {
    if (inTransaction()) {
      execute("ROLLBACK");
    }
  } catch (const std::bad_alloc&) {
    // Whoever begins the next transaction comes here again.
  }
}

Statement SQLiteConnection::statement(std::string_view sql) {
  if (const auto known = statements_.find(sql); known != statements_.end()) {
    return Statement(known->second.get());
  }
  sqlite3_stmt* prepared = nullptr;
  const int result =
      checkedForMemory(sqlite3_prepare_v3(database_, sql.data(), static_cast<int>(sql.size()),
                                          SQLITE_PREPARE_PERSISTENT, &prepared, nullptr));
  if (result != SQLITE_OK) {
    return Statement(nullptr);
  }
  std::unique_ptr<sqlite3_stmt, Finalize> kept(prepared);
  statements_.emplace(sql, std::move(kept));
  return Statement(prepared);
}

bool SQLiteConnection::execute(std::string_view sql) {
  Statement use = statement(sql);
  Statement::Step step = use.step();
  while (step == Statement::Step::kRow) {
    step = use.step();
  }
  return step == Statement::Step::kDone;
}

std::optional<std::int64_t> SQLiteConnection::integer(std::string_view sql) {
  Statement use = statement(sql);
  return use.step() == Statement::Step::kRow ? std::optional(use.integer(0)) : std::nullopt;
}

bool SQLiteConnection::inTransaction() const {
  return sqlite3_get_autocommit(database_) == 0;
}

SQLiteConnection::Committed SQLiteConnection::commitUnsynced() {
  logWrites_->leaveNextSync();
  bool isCommitted = false;
  try {
    isCommitted = execute("COMMIT");
  } catch (const std::bad_alloc&) {
    logWrites_->hasLeftSync();
    throw;
  }
  const bool hasLeftSync = logWrites_->hasLeftSync();
  return !isCommitted ? Committed::kNot : hasLeftSync ? Committed::kUnsynced : Committed::kSynced;
}

std::optional<Error> SQLiteConnection::syncLog() const {
  const int result = logWrites_->sync();
  if (result == SQLITE_OK) return std::nullopt;
  return makeError(kPersistenceErrorDomain, result, path_ + ": " + sqlite3_errstr(result));
}

std::int64_t SQLiteConnection::changes() const {
  return sqlite3_changes64(database_);
}

std::int64_t SQLiteConnection::lastInsertRowId() const {
  return sqlite3_last_insert_rowid(database_);
}

int SQLiteConnection::lastErrorCode() const {
  return sqlite3_extended_errcode(database_);
}

Error SQLiteConnection::lastError() const {
  return makeError(kPersistenceErrorDomain, lastErrorCode(),
                   path_ + ": " + sqlite3_errmsg(database_));
}

}  // namespace velto
