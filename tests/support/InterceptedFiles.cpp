// SPDX-License-Identifier: Apache-2.0
#include "tests/support/InterceptedFiles.h"

#include <cerrno>
#include <new>
#include <utility>

#include <gtest/gtest.h>

#include "platform/foundation/FileManager.h"

namespace velto {

namespace {

using Kind = FileCall::Kind;

/// SQLite gives the memory: this, and the real file right after it.
struct File : sqlite3_file {
  File(FileObserver& observing, const char* name)
      : sqlite3_file{nullptr}, observer(observing), path(name == nullptr ? "" : name) {}

  sqlite3_file* real() { return reinterpret_cast<sqlite3_file*>(this + 1); }

  FileObserver& observer;
  const std::string path;
};

struct FileSystem : sqlite3_vfs {
  FileSystem(sqlite3_vfs& realFiles, FileObserver& observing)
      : sqlite3_vfs(realFiles), real(realFiles), observer(observing) {}

  sqlite3_vfs& real;
  FileObserver& observer;
};

File& fileOf(sqlite3_file* base) {
  return *static_cast<File*>(base);
}

/// Calls the method of the real file.
template <auto kMethod, typename... Arguments>
int forward(sqlite3_file* base, Arguments... arguments) {
  sqlite3_file* const real = fileOf(base).real();
  return (real->pMethods->*kMethod)(real, arguments...);
}

int closeFile(sqlite3_file* base) {
  const int result = forward<&sqlite3_io_methods::xClose>(base);
  fileOf(base).~File();
  return result;
}

int readFile(sqlite3_file* base, void* buffer, int length, sqlite3_int64 offset) {
  const auto verdict = fileOf(base).observer.before({Kind::kRead, fileOf(base).path, offset, {}});
  return verdict.result != SQLITE_OK
             ? verdict.result
             : forward<&sqlite3_io_methods::xRead>(base, buffer, length, offset);
}

int writeFile(sqlite3_file* base, const void* bytes, int length, sqlite3_int64 offset) {
  std::string data(static_cast<const char*>(bytes), static_cast<std::size_t>(length));
  const auto verdict =
      fileOf(base).observer.before({Kind::kWrite, fileOf(base).path, offset, std::move(data)});
  if (verdict.result == SQLITE_OK) {
    return forward<&sqlite3_io_methods::xWrite>(base, bytes, length, offset);
  }
  if (verdict.written != 0) {
    forward<&sqlite3_io_methods::xWrite>(base, bytes, static_cast<int>(verdict.written), offset);
  }
  return verdict.result;
}

int truncateFile(sqlite3_file* base, sqlite3_int64 size) {
  const auto verdict = fileOf(base).observer.before({Kind::kTruncate, fileOf(base).path, size, {}});
  return verdict.result != SQLITE_OK ? verdict.result
                                     : forward<&sqlite3_io_methods::xTruncate>(base, size);
}

int syncFile(sqlite3_file* base, int) {
  return fileOf(base).observer.before({Kind::kSync, fileOf(base).path, 0, {}}).result;
}

void shmBarrier(sqlite3_file* base) {
  sqlite3_file* const real = fileOf(base).real();
  real->pMethods->xShmBarrier(real);
}

const sqlite3_io_methods kMethods = {
    .iVersion = 2,  // the third's memory-mapped reading would pass by
    .xClose = closeFile,
    .xRead = readFile,
    .xWrite = writeFile,
    .xTruncate = truncateFile,
    .xSync = syncFile,
    .xFileSize = forward<&sqlite3_io_methods::xFileSize, sqlite3_int64*>,
    .xLock = forward<&sqlite3_io_methods::xLock, int>,
    .xUnlock = forward<&sqlite3_io_methods::xUnlock, int>,
    .xCheckReservedLock = forward<&sqlite3_io_methods::xCheckReservedLock, int*>,
    .xFileControl = forward<&sqlite3_io_methods::xFileControl, int, void*>,
    .xSectorSize = forward<&sqlite3_io_methods::xSectorSize>,
    .xDeviceCharacteristics = forward<&sqlite3_io_methods::xDeviceCharacteristics>,
    .xShmMap = forward<&sqlite3_io_methods::xShmMap, int, int, int, void volatile**>,
    .xShmLock = forward<&sqlite3_io_methods::xShmLock, int, int, int>,
    .xShmBarrier = shmBarrier,
    .xShmUnmap = forward<&sqlite3_io_methods::xShmUnmap, int>,
    .xFetch = nullptr,
    .xUnfetch = nullptr,
};

FileSystem& fileSystemOf(sqlite3_vfs* base) {
  return *static_cast<FileSystem*>(base);
}

int openFile(sqlite3_vfs* base, const char* name, sqlite3_file* memory, int flags, int* outFlags) {
  FileSystem& files = fileSystemOf(base);
  auto* file = new (memory) File(files.observer, name);
  int result = files.observer.before({Kind::kOpen, file->path, 0, {}}).result;
  if (result == SQLITE_OK) {
    result = files.real.xOpen(&files.real, name, file->real(), flags, outFlags);
  }
  if (result == SQLITE_OK) {
    file->pMethods = &kMethods;
  } else {
    file->~File();
    memory->pMethods = nullptr;  // there is nothing to close
  }
  return result;
}

int deleteFile(sqlite3_vfs* base, const char* name, int syncDirectory) {
  FileSystem& files = fileSystemOf(base);
  const auto verdict = files.observer.before({Kind::kDelete, name, 0, {}});
  return verdict.result != SQLITE_OK ? verdict.result
                                     : files.real.xDelete(&files.real, name, syncDirectory);
}

}  // namespace

struct InterceptedFiles::Registration : FileSystem {
  using FileSystem::FileSystem;
};

InterceptedFiles::InterceptedFiles(FileObserver& observer)
    : registration_(std::make_unique<Registration>(*sqlite3_vfs_find(nullptr), observer)) {
  registration_->zName = "intercepted";
  registration_->szOsFile += static_cast<int>(sizeof(File));
  registration_->xOpen = openFile;
  registration_->xDelete = deleteFile;
  EXPECT_EQ(sqlite3_vfs_register(registration_.get(), 1), SQLITE_OK);
}

InterceptedFiles::~InterceptedFiles() {
  sqlite3_vfs_unregister(registration_.get());
  sqlite3_vfs_register(&registration_->real, 1);
}

std::optional<Error> InterceptedFiles::rename(const std::string& from,
                                              const std::string& to) const {
  const auto failed = failure({Kind::kRename, from, 0, to});
  return failed ? failed : DirectoryEntries::system().rename(from, to);
}

std::optional<Error> InterceptedFiles::remove(const std::string& file) const {
  const auto failed = failure({Kind::kDelete, file, 0, {}});
  return failed ? failed : DirectoryEntries::system().remove(file);
}

std::optional<Error> InterceptedFiles::sync(const std::string& directory) const {
  return failure({Kind::kSyncDirectory, directory, 0, {}});
}

/// Why the observer does not let the call be made.
std::optional<Error> InterceptedFiles::failure(const FileCall& call) const {
  return registration_->observer.before(call).result == SQLITE_OK
             ? std::nullopt
             : std::optional(makeError(kPOSIXErrorDomain, EIO, call.path));
}

}  // namespace velto
