// SPDX-License-Identifier: Apache-2.0
// SQLite's own files with a buffer before the log's writes. Only a file that SQLite opens as a log
// is wrapped; of all others it gets the real one.
//
// Where nobody waits for a sync yet, the system is asked to write meanwhile: what a commit has
// added to the log while the one before it is synced, and what a checkpoint has copied while it
// copies the rest.

#include "platform/persistence/sqlite/GatheredLogWrites.h"

#include <cstdint>
#include <cstring>
#include <new>
#include <utility>
#include <vector>

#include <sqlite3.h>

#include "platform/foundation/Mutex.h"
#include "platform/persistence/sqlite/EarlyWrites.h"

namespace velto {

namespace {

/// SQLite's files take less than 128 KiB in one write.
constexpr std::size_t kMostGathered = (std::size_t{1} << 17) - 1;
/// After so many pages have been read from the log, what a checkpoint has done with them is worth
/// writing. A writer reads few of them for itself.
constexpr int kPagesToWrite = 64;

}  // namespace

/// The real files, but for the log.
class FilesOfLog : public sqlite3_vfs {
 public:
  explicit FilesOfLog(const char* name);

  sqlite3_vfs& real() const { return *static_cast<sqlite3_vfs*>(pAppData); }
  /// One at a time: of those that run at once, the system tells only one what it has lost.
  int syncLog(int flags) {
    const MutexLock lock(mutex_);
    if (result_ == SQLITE_OK) result_ = log->pMethods->xSync(log, flags);
    return result_;
  }

  sqlite3_file* log = nullptr;  ///< the real one
  EarlyWrites database;         ///< stays until the connection has been closed
  enum class NextSync { kIsMade, kIsLeft, kWasLeft };
  NextSync nextSync = NextSync::kIsMade;

 private:
  Mutex mutex_;
  int result_ VELTO_GUARDED_BY(mutex_) = SQLITE_OK;  ///< of the last sync
};

namespace {

using NextSync = FilesOfLog::NextSync;

/// SQLite gives the memory: this, and the real file right after it.
struct Log : sqlite3_file {
  explicit Log(FilesOfLog& of) : sqlite3_file{nullptr}, files(of) {}

  sqlite3_file* real() { return reinterpret_cast<sqlite3_file*>(this + 1); }
  sqlite3_int64 end() const { return start + static_cast<sqlite3_int64>(gathered.size()); }
  /// A log that begins anew says so at its beginning.
  bool hasGatheredHeader() const { return !gathered.empty() && start == 0; }

  FilesOfLog& files;
  EarlyWrites early;
  int pagesRead = 0;
  sqlite3_int64 start = 0;  ///< where in the file the gathered bytes belong
  std::vector<char> gathered;
};

Log& logOf(sqlite3_file* base) {
  return *static_cast<Log*>(base);
}

/// Writes what has been gathered. When it fails, that is kept for the next try: SQLite may go on
/// with the transaction, whose earlier pages are among it.
int write(Log& log) {
  if (log.gathered.empty()) return SQLITE_OK;
  sqlite3_file* const real = log.real();
  const int result = real->pMethods->xWrite(real, log.gathered.data(),
                                            static_cast<int>(log.gathered.size()), log.start);
  if (result == SQLITE_OK) log.gathered.clear();
  return result;
}

/// The sync of a commit, or before it that of a header. It and the next one are not left then,
/// since there is no way back to the log of before. When the write fails, SQLite goes back to
/// before the transaction, so nothing of it must reach the file later.
int syncLog(sqlite3_file* base, int flags) {
  Log& log = logOf(base);
  NextSync& next = log.files.nextSync;
  if (log.hasGatheredHeader()) next = NextSync::kIsMade;
  const int result = write(log);
  log.gathered.clear();
  if (result != SQLITE_OK) return result;
  if (next != NextSync::kIsLeft) return log.files.syncLog(flags);
  log.early.begin();
  next = NextSync::kWasLeft;
  return SQLITE_OK;
}

/// Calls the method of the real file, which has all that was written.
template <auto kMethod, typename... Arguments>
int afterWriting(sqlite3_file* base, Arguments... arguments) {
  Log& log = logOf(base);
  const int result = write(log);
  return result != SQLITE_OK ? result : (log.real()->pMethods->*kMethod)(log.real(), arguments...);
}

int readLog(sqlite3_file* base, void* bytes, int length, sqlite3_int64 offset) {
  Log& log = logOf(base);
  if (++log.pagesRead % kPagesToWrite == 0) log.files.database.begin();
  return afterWriting<&sqlite3_io_methods::xRead>(base, bytes, length, offset);
}

/// Calls the method of the real file, which does not depend on what it holds.
template <auto kMethod, typename... Arguments>
int forward(sqlite3_file* base, Arguments... arguments) {
  sqlite3_file* const real = logOf(base).real();
  return (real->pMethods->*kMethod)(real, arguments...);
}

int gather(Log& log, const void* bytes, std::size_t length, sqlite3_int64 offset) {
  if (log.gathered.empty()) log.start = offset;
  const char* const first = static_cast<const char*>(bytes);
  try {
    log.gathered.insert(log.gathered.end(), first, first + length);
  } catch (const std::bad_alloc&) {
    return SQLITE_IOERR_NOMEM;
  }
  return SQLITE_OK;
}

int writeLater(sqlite3_file* base, const void* bytes, int length, sqlite3_int64 offset) {
  Log& log = logOf(base);
  const auto size = static_cast<std::size_t>(length);
  if (offset != log.end() || log.gathered.size() + size > kMostGathered) {
    if (const int result = write(log); result != SQLITE_OK) return result;
  }
  return gather(log, bytes, size, offset);
}

int closeLog(sqlite3_file* base) {
  Log& log = logOf(base);
  const int written = write(log);
  log.files.log = nullptr;
  const int result = log.real()->pMethods->xClose(log.real());
  log.~Log();
  return written != SQLITE_OK ? written : result;
}

/// A log needs no more: shared memory and mapping are of the database file.
const sqlite3_io_methods kMethods = {
    .iVersion = 1,
    .xClose = closeLog,
    .xRead = readLog,
    .xWrite = writeLater,
    .xTruncate = afterWriting<&sqlite3_io_methods::xTruncate, sqlite3_int64>,
    .xSync = syncLog,
    .xFileSize = afterWriting<&sqlite3_io_methods::xFileSize, sqlite3_int64*>,
    .xLock = forward<&sqlite3_io_methods::xLock, int>,
    .xUnlock = forward<&sqlite3_io_methods::xUnlock, int>,
    .xCheckReservedLock = forward<&sqlite3_io_methods::xCheckReservedLock, int*>,
    .xFileControl = forward<&sqlite3_io_methods::xFileControl, int, void*>,
    .xSectorSize = forward<&sqlite3_io_methods::xSectorSize>,
    .xDeviceCharacteristics = forward<&sqlite3_io_methods::xDeviceCharacteristics>,
    .xShmMap = nullptr,
    .xShmLock = nullptr,
    .xShmBarrier = nullptr,
    .xShmUnmap = nullptr,
    .xFetch = nullptr,
    .xUnfetch = nullptr,
};

FilesOfLog& filesOf(sqlite3_vfs* base) {
  return *static_cast<FilesOfLog*>(base);
}

/// With a log that SQLite may have made it syncs the directory, which takes milliseconds. One that
/// is there has its name, and whoever opens the store syncs that.
int withoutMaking(sqlite3_vfs& real, const char* name, int flags) {
  int exists = 0;
  const int result = real.xAccess(&real, name, SQLITE_ACCESS_EXISTS, &exists);
  return result == SQLITE_OK && exists != 0 ? flags & ~SQLITE_OPEN_CREATE : flags;
}

int openFile(sqlite3_vfs* base, const char* name, sqlite3_file* memory, int flags, int* outFlags) {
  FilesOfLog& files = filesOf(base);
  sqlite3_vfs& real = files.real();
  if ((flags & SQLITE_OPEN_MAIN_DB) != 0) files.database = EarlyWrites(name);
  if ((flags & SQLITE_OPEN_WAL) == 0) return real.xOpen(&real, name, memory, flags, outFlags);
  auto* const log = new (memory) Log(files);
  const int result =
      real.xOpen(&real, name, log->real(), withoutMaking(real, name, flags), outFlags);
  if (result == SQLITE_OK) {
    log->pMethods = &kMethods;
    log->early = EarlyWrites(name);
    files.log = log->real();
  } else {
    log->~Log();
    memory->pMethods = nullptr;  // there is nothing to close
  }
  return result;
}

/// Calls the method of the real files with those.
template <auto kMethod, typename... Arguments>
int pass(sqlite3_vfs* base, Arguments... arguments) {
  sqlite3_vfs& real = filesOf(base).real();
  return (real.*kMethod)(&real, arguments...);
}

}  // namespace

FilesOfLog::FilesOfLog(const char* name) : sqlite3_vfs(*sqlite3_vfs_find(nullptr)) {
  pAppData = sqlite3_vfs_find(nullptr);
  pNext = nullptr;
  zName = name;
  szOsFile += static_cast<int>(sizeof(Log));
  xOpen = openFile;
  xDelete = pass<&sqlite3_vfs::xDelete, const char*, int>;
  xAccess = pass<&sqlite3_vfs::xAccess, const char*, int, int*>;
  xFullPathname = pass<&sqlite3_vfs::xFullPathname, const char*, int, char*>;
}

GatheredLogWrites::GatheredLogWrites()
    : name_("velto-" + std::to_string(reinterpret_cast<std::uintptr_t>(this))),
      files_(std::make_unique<FilesOfLog>(name_.c_str())) {
  sqlite3_vfs_register(files_.get(), 0);
}

GatheredLogWrites::~GatheredLogWrites() {
  sqlite3_vfs_unregister(files_.get());
}

void GatheredLogWrites::leaveNextSync() {
  files_->nextSync = NextSync::kIsLeft;
}

bool GatheredLogWrites::hasLeftSync() {
  return std::exchange(files_->nextSync, NextSync::kIsMade) == NextSync::kWasLeft;
}

int GatheredLogWrites::sync() {
  return files_->syncLog(SQLITE_SYNC_NORMAL);
}

}  // namespace velto
