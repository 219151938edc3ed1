// SPDX-License-Identifier: Apache-2.0
#include "platform/persistence/sqlite/WriteAheadLog.h"

#include <algorithm>
#include <array>
#include <string>
#include <sys/stat.h>
#include <vector>

#include <sqlite3.h>

#include "platform/persistence/PersistenceErrors.h"
#include "platform/persistence/sqlite/LogIndex.h"
#include "platform/persistence/sqlite/SQLiteConnection.h"

namespace velto {

namespace {

// The format of a log, as SQLite documents it: a header, and frames of a header and a page each.
// Numbers have their most significant byte first.
constexpr sqlite3_int64 kHeaderSize = 32;
constexpr sqlite3_int64 kPageSizeOffset = 8;
constexpr sqlite3_int64 kFrameHeaderSize = 24;
constexpr sqlite3_int64 kFrameCommitOffset = 4;  ///< not 0 in the last frame of a transaction

constexpr sqlite3_int64 kPieceSize = 1 << 16;

/// Reads, and writes the same, from one offset to another.
int rewrite(sqlite3_file& log, sqlite3_int64 from, sqlite3_int64 to) {
  std::vector<char> piece(static_cast<std::size_t>(std::min(to - from, kPieceSize)));
  int result = SQLITE_OK;
  for (sqlite3_int64 offset = from; result == SQLITE_OK && offset < to; offset += kPieceSize) {
    const int length = static_cast<int>(std::min(to - offset, kPieceSize));
    result = log.pMethods->xRead(&log, piece.data(), length, offset);
    if (result == SQLITE_OK) {
      result = log.pMethods->xWrite(&log, piece.data(), length, offset);
    }
  }
  return result;
}

int readNumber(sqlite3_file& log, sqlite3_int64 offset, sqlite3_int64& number) {
  std::array<unsigned char, 4> bytes{};
  const int result = log.pMethods->xRead(&log, bytes.data(), bytes.size(), offset);
  number = sqlite3_int64{bytes[0]} << 24 | bytes[1] << 16 | bytes[2] << 8 | bytes[3];
  return result;
}

/// The log of a file whose write lock is held, up to its last commit.
class CommittedLog {
 public:
  /// SQLite's code.
  int open(sqlite3_file& log, sqlite3_int64 lastFrame) {
    log_ = &log;
    lastFrame_ = lastFrame;
    sqlite3_int64 pageSize = 0;
    const int result = readNumber(log, kPageSizeOffset, pageSize);
    frameSize_ = kFrameHeaderSize + pageSize;
    return result;
  }

  /// Of its header and its last transactions.
  int rewriteEnd() const {
    sqlite3_int64 first = lastFrame_;
    int result = SQLITE_OK;
    for (int whole = 0; first > 1 && result == SQLITE_OK; --first) {
      sqlite3_int64 commit = 0;
      result = readNumber(*log_, start(first - 1) + kFrameCommitOffset, commit);
      if (commit != 0 && ++whole == kMostUnsyncedCommits) break;
    }
    if (result == SQLITE_OK) result = rewrite(*log_, 0, kHeaderSize);
    return result == SQLITE_OK ? rewrite(*log_, start(first), start(lastFrame_ + 1)) : result;
  }

 private:
  sqlite3_int64 start(sqlite3_int64 frame) const { return kHeaderSize + (frame - 1) * frameSize_; }

  sqlite3_file* log_ = nullptr;
  sqlite3_int64 lastFrame_ = 0;
  sqlite3_int64 frameSize_ = 0;
};

/// The log that the connection has open, or null.
sqlite3_file* logOf(SQLiteConnection& writer) {
  sqlite3_file* file = nullptr;
  const int result =
      sqlite3_file_control(writer.handle(), "main", SQLITE_FCNTL_JOURNAL_POINTER, &file);
  return result == SQLITE_OK && file != nullptr && file->pMethods != nullptr ? file : nullptr;
}

int rewriteEndOfLog(SQLiteConnection& writer) {
  sqlite3_file* const log = logOf(writer);
  if (log == nullptr) return SQLITE_OK;
  const auto lastFrame = lastFrameOfLog(writer);
  if (!lastFrame) return SQLITE_INTERNAL;
  int result = SQLITE_OK;
  if (*lastFrame != 0) {
    CommittedLog committed;
    result = committed.open(*log, *lastFrame);
    if (result == SQLITE_OK) result = committed.rewriteEnd();
  }
  return result == SQLITE_OK ? log->pMethods->xSync(log, SQLITE_SYNC_NORMAL) : result;
}

}  // namespace

bool isLogEmpty(const SQLiteConnection& writer) {
  struct stat status {};
  return ::stat((writer.path() + "-wal").c_str(), &status) == 0 && status.st_size == 0;
}

bool useWriteAheadLog(SQLiteConnection& writer, ErrorSlot error) {
  Statement statement = writer.statement("PRAGMA journal_mode=WAL");
  if (statement.step() != Statement::Step::kRow) {
    replaceError(error, writer.lastError());
    return false;
  }
  if (statement.value(0, AttributeType::kString) != AttributeValue(std::string("wal"))) {
    replaceError(error, makeError(kPersistenceErrorDomain, SQLITE_CANTOPEN,
                                  writer.path() + ": no write-ahead log can be used here"));
    return false;
  }
  return true;
}

bool secureLog(SQLiteConnection& writer, ErrorSlot error) {
  if (isLogEmpty(writer)) {
    return true;
  }
  // The write lock keeps other programs from the log.
  if (!writer.execute("BEGIN IMMEDIATE")) {
    replaceError(error, writer.lastError());
    return false;
  }
  const int result = rewriteEndOfLog(writer);
  writer.rollBack();
  if (result != SQLITE_OK) {
    replaceError(error, makeError(kPersistenceErrorDomain, result,
                                  writer.path() + ": the write-ahead log cannot be written: " +
                                      sqlite3_errstr(result)));
  }
  return result == SQLITE_OK;
}

}  // namespace velto
