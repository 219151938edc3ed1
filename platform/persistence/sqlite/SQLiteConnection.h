// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/foundation/Error.h"
#include "platform/persistence/AttributeValue.h"
#include "platform/persistence/sqlite/GatheredLogWrites.h"

struct sqlite3;
struct sqlite3_stmt;

namespace velto {

/// The result code of a function of SQLite's as it stands, unless memory has run out: throws
/// std::bad_alloc then.
int checkedForMemory(int result);

/// One use of a prepared statement: bind, step, read the columns. It resets the statement when it
/// goes, which ends the statement's transaction, and drops what was bound: that must live as long
/// as this object. One thread.
class Statement {
 public:
  enum class Step { kRow, kDone, kError };

  /// Null stands for a statement that could not be prepared: each step of it is an error.
  explicit Statement(sqlite3_stmt* statement)
      : statement_(statement), failed_(statement == nullptr) {}
  ~Statement();
  Statement(const Statement&) = delete;
  Statement& operator=(const Statement&) = delete;

  /// Binds the parameters one after the other.
  void bind(const AttributeValue& value);
  void bind(std::int64_t value);
  void bind(const std::vector<std::string>& list);
  void bind(const std::span<const std::int64_t>& list);

  Step step();

  std::int64_t integer(int column) const;
  double real(int column) const;
  bool isAbsent(int column) const;
  /// The text or data as it lies in SQLite's memory, until the next step; empty when it is absent.
  std::string_view bytes(int column) const;
  /// The same, and nothing when it is absent.
  std::optional<std::string_view> presentBytes(int column) const;
  std::optional<double> presentReal(int column) const;
  AttributeValue value(int column, AttributeType type) const;
  /// The same, in the memory that `value` has.
  void read(int column, AttributeType type, AttributeValue& value) const;

 private:
  template <typename Bind>
  void bindNext(Bind bindAt);
  template <typename T>
  void readBytes(int column, AttributeValue& value) const;

  sqlite3_stmt* const statement_;
  int parameters_ = 0;
  bool failed_;  ///< nothing to step, or a value could not be bound
};

/// One connection to a store file, with the statements it has prepared. Used by one thread at a
/// time.
class SQLiteConnection {
 public:
  enum class Role {
    kWriter,  ///< writes, and checkpoints when it is told to and on closing
    kReader,  ///< does neither
  };

  /// A connection to the existing file, or null with the error. A writer waits long for the locks
  /// of others until it is told that it has started; `waits` is called once when it does. Here as
  /// in all of the persistence, SQLite's running out of memory is std::bad_alloc, as ours is: an
  /// error would be one answer among others to code that goes on without what it asked for.
  static std::unique_ptr<SQLiteConnection> open(const std::string& path, Role role, ErrorSlot error,
                                                std::function<void()> waits = {});
  /// From now on, it does not wait longer than a caller can.
  void setStarted();
  ~SQLiteConnection();
  SQLiteConnection(const SQLiteConnection&) = delete;
  SQLiteConnection& operator=(const SQLiteConnection&) = delete;

  /// The statement, prepared at its first use. At most one use of it at a time.
  Statement statement(std::string_view sql);
  /// Runs a statement without parameters to its end.
  bool execute(std::string_view sql);
  /// The first column of the first row, or nothing.
  std::optional<std::int64_t> integer(std::string_view sql);

  /// Whether SQLite is within a transaction: some errors make it roll back on its own.
  bool inTransaction() const;
  /// Ends the transaction, if there is one, without its changes. Without memory for that it stays.
  void rollBack() noexcept;
  enum class Committed {
    kNot,       ///< the transaction may be left open
    kUnsynced,  ///< and seen by others, but may be lost until `syncLog` has returned
    kSynced,
  };
  /// Commits, and leaves the sync to `syncLog` where that can be.
  Committed commitUnsynced();
  /// Makes last what has been committed. On any thread, also while the connection is used.
  std::optional<Error> syncLog() const;
  /// How many rows the last INSERT, UPDATE or DELETE changed.
  std::int64_t changes() const;
  std::int64_t lastInsertRowId() const;

  /// The length of the write-ahead log in pages, as this connection's last commit left it.
  int logPages() const { return logPages_; }
  /// Copies from the log into the file what no reader holds back. Returns how many of its pages are
  /// left; nothing when it has failed.
  std::optional<int> checkpoint();
  enum class Emptied {
    kYes,
    kHeldBack,  ///< somebody reads from the log, or another program has a lock
    kFailed,
  };
  /// Copies all of the log and gives its room back. Waits for nobody.
  Emptied emptyLog();
  /// Whether the file has been renamed or deleted since it was opened: what is written to it then
  /// is in no store that anybody would find.
  bool hasMoved() const;
  /// From now on nothing is written any more, not even on closing.
  bool setReadOnly();

  /// SQLite's last failure, with the file's name.
  Error lastError() const;
  /// Its extended result code alone.
  int lastErrorCode() const;

  const std::string& path() const { return path_; }
  sqlite3* handle() const { return database_; }

 private:
  SQLiteConnection(std::string path, std::unique_ptr<GatheredLogWrites> logWrites,
                   sqlite3* database);
  bool configure(Role role);
  bool waitForLock(int attempt);

  const std::string path_;
  const std::unique_ptr<GatheredLogWrites> logWrites_;  ///< the writer's; stays until it is closed
  sqlite3* const database_;
  struct Finalize {
    void operator()(sqlite3_stmt* statement) const;
  };
  std::map<std::string, std::unique_ptr<sqlite3_stmt, Finalize>, std::less<>> statements_;
  int logPages_ = 0;
  std::function<void()> waits_;  ///< null when it has been called
};

}  // namespace velto
