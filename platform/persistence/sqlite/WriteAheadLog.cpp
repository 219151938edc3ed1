// SPDX-License-Identifier: Apache-2.0
#include "platform/persistence/sqlite/WriteAheadLog.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <string>
#include <sys/stat.h>
#include <vector>

#include <sqlite3.h>

#include "platform/persistence/PersistenceErrors.h"
#include "platform/persistence/sqlite/SQLiteConnection.h"

namespace velto {

namespace {

// The format of a log, as SQLite documents it: a header, and frames of a header and a page each.
// Numbers have their most significant byte first.
constexpr sqlite3_int64 kHeaderSize = 32;
constexpr sqlite3_int64 kPageSizeOffset = 8;
constexpr sqlite3_int64 kFrameHeaderSize = 24;
constexpr sqlite3_int64 kFrameCommitOffset = 4;  ///< not 0 in the last frame of a transaction
// The log's index in shared memory: the first block, and the number of the last frame in it.
constexpr int kIndexBlockSize = 32768;
constexpr std::size_t kLastFrameOffset = 16;

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

  /// Of its header and its last transaction.
  int rewriteEnd() const {
    sqlite3_int64 first = lastFrame_;
    int result = SQLITE_OK;
    for (sqlite3_int64 commit = 0; first > 1 && result == SQLITE_OK; --first) {
      result = readNumber(*log_, start(first - 1) + kFrameCommitOffset, commit);
      if (commit != 0) break;
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

/// A file that the connection has open, or null.
sqlite3_file* fileOf(SQLiteConnection& writer, int which) {
  sqlite3_file* file = nullptr;
  const int result = sqlite3_file_control(writer.handle(), "main", which, &file);
  return result == SQLITE_OK && file != nullptr && file->pMethods != nullptr ? file : nullptr;
}

/// The number of the last frame that counts, from 1.
int findLastFrame(SQLiteConnection& writer, sqlite3_int64& frame) {
  sqlite3_file* const file = fileOf(writer, SQLITE_FCNTL_FILE_POINTER);
  if (file == nullptr || file->pMethods->iVersion < 2) return SQLITE_INTERNAL;
  void volatile* index = nullptr;
  const int result = file->pMethods->xShmMap(file, 0, kIndexBlockSize, 0, &index);
  if (result != SQLITE_OK || index == nullptr)
    return result == SQLITE_OK ? SQLITE_INTERNAL : result;
  std::uint32_t last = 0;
  std::memcpy(&last, static_cast<const char*>(const_cast<const void*>(index)) + kLastFrameOffset,
              sizeof last);
  frame = last;
  return SQLITE_OK;
}

int rewriteEndOfLog(SQLiteConnection& writer) {
  sqlite3_file* const log = fileOf(writer, SQLITE_FCNTL_JOURNAL_POINTER);
  if (log == nullptr) return SQLITE_OK;
  sqlite3_int64 lastFrame = 0;
  int result = findLastFrame(writer, lastFrame);
  if (result == SQLITE_OK && lastFrame != 0) {
    CommittedLog committed;
    result = committed.open(*log, lastFrame);
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
