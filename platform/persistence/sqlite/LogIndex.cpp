// SPDX-License-Identifier: Apache-2.0
#include "platform/persistence/sqlite/LogIndex.h"

#include <cstdint>
#include <cstring>

#include <sqlite3.h>

#include "platform/persistence/sqlite/SQLiteConnection.h"

namespace velto {

namespace {

constexpr std::size_t kCopySize = sizeof(LogIndexHeader) / 2;
// Where numbers of 32 bits are, in the byte order of the machine.
constexpr std::size_t kChangeCounterAt = 8;  ///< one more with each commit
constexpr std::size_t kLastFrameAt = 16;
constexpr std::size_t kSaltsAt = 32;  ///< two of them, others for each log
constexpr std::size_t kCopiedFramesAt = sizeof(LogIndexHeader);  ///< into the file, behind it
/// SQLite maps the index in pieces of this size, and the header is in the first.
constexpr int kPieceSize = 32768;

std::uint32_t number(const std::byte* bytes, std::size_t offset) {
  std::uint32_t value = 0;
  std::memcpy(&value, bytes + offset, sizeof value);
  return value;
}

/// The file whose memory is shared, and that memory; null when there is none.
struct SharedIndex {
  explicit SharedIndex(const SQLiteConnection& connection) {
    void volatile* mapped = nullptr;
    if (sqlite3_file_control(connection.handle(), "main", SQLITE_FCNTL_FILE_POINTER,
                             static_cast<void*>(&file)) == SQLITE_OK &&
        file->pMethods != nullptr && file->pMethods->iVersion >= 2 &&
        file->pMethods->xShmMap(file, 0, kPieceSize, 0, &mapped) == SQLITE_OK) {
      bytes = static_cast<std::byte*>(const_cast<void*>(mapped));
    }
  }

  sqlite3_file* file = nullptr;
  std::byte* bytes = nullptr;
};

bool mayGoBack(const SharedIndex& index, const LogIndexHeader& before, unsigned commits) {
  const std::uint32_t changes = number(before.data(), kChangeCounterAt) + commits;
  return index.bytes != nullptr && number(index.bytes, kChangeCounterAt) == changes &&
         std::memcmp(index.bytes + kSaltsAt, before.data() + kSaltsAt, 2 * sizeof changes) == 0 &&
         number(index.bytes, kCopiedFramesAt) <= number(before.data(), kLastFrameAt);
}

}  // namespace

LogIndexHeader logIndexHeader(const SQLiteConnection& connection) {
  LogIndexHeader header{};
  const SharedIndex index(connection);
  if (index.bytes != nullptr) std::memcpy(header.data(), index.bytes, header.size());
  return header;
}

std::optional<std::uint32_t> lastFrameOfLog(const SQLiteConnection& connection) {
  const SharedIndex index(connection);
  return index.bytes == nullptr ? std::nullopt : std::optional(number(index.bytes, kLastFrameAt));
}

void takeBackCommits(SQLiteConnection& connection, const LogIndexHeader& before, unsigned commits) {
  if (!connection.execute("PRAGMA query_only=0") || !connection.execute("BEGIN IMMEDIATE")) return;
  const SharedIndex index(connection);
  if (mayGoBack(index, before, commits)) {
    // The second copy first, as SQLite does: whoever finds two different ones reads them again.
    std::memcpy(index.bytes + kCopySize, before.data() + kCopySize, kCopySize);
    index.file->pMethods->xShmBarrier(index.file);
    std::memcpy(index.bytes, before.data(), kCopySize);
  }
  connection.rollBack();
}

}  // namespace velto
