// SPDX-License-Identifier: Apache-2.0
#include "platform/persistence/sqlite/WriteAheadLog.h"

#include <algorithm>
#include <string>
#include <sys/stat.h>
#include <vector>

#include <sqlite3.h>

#include "platform/persistence/PersistenceErrors.h"
#include "platform/persistence/sqlite/SQLiteConnection.h"

namespace velto {

namespace {

constexpr sqlite3_int64 kPieceSize = 1 << 16;

int rewrite(sqlite3_file& file) {
  sqlite3_int64 size = 0;
  int result = file.pMethods->xFileSize(&file, &size);
  std::vector<char> piece(static_cast<std::size_t>(std::min(size, kPieceSize)));
  for (sqlite3_int64 offset = 0; result == SQLITE_OK && offset < size; offset += kPieceSize) {
    const int length = static_cast<int>(std::min(size - offset, kPieceSize));
    result = file.pMethods->xRead(&file, piece.data(), length, offset);
    if (result == SQLITE_OK) {
      result = file.pMethods->xWrite(&file, piece.data(), length, offset);
    }
  }
  return result == SQLITE_OK && size != 0 ? file.pMethods->xSync(&file, SQLITE_SYNC_NORMAL)
                                          : result;
}

/// The log of the connection's file, or null when it has none.
sqlite3_file* logOf(SQLiteConnection& writer) {
  sqlite3_file* file = nullptr;
  const int result =
      sqlite3_file_control(writer.handle(), "main", SQLITE_FCNTL_JOURNAL_POINTER, &file);
  return result == SQLITE_OK && file != nullptr && file->pMethods != nullptr ? file : nullptr;
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

bool rewriteLog(SQLiteConnection& writer, ErrorSlot error) {
  if (isLogEmpty(writer)) {
    return true;
  }
  // The write lock keeps other programs from the log.
  if (!writer.execute("BEGIN IMMEDIATE")) {
    replaceError(error, writer.lastError());
    return false;
  }
  sqlite3_file* const log = logOf(writer);
  const int result = log == nullptr ? SQLITE_OK : rewrite(*log);
  writer.rollBack();
  if (result != SQLITE_OK) {
    replaceError(error, makeError(kPersistenceErrorDomain, result,
                                  writer.path() + ": the write-ahead log cannot be written: " +
                                      sqlite3_errstr(result)));
  }
  return result == SQLITE_OK;
}

}  // namespace velto
