// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include <sqlite3.h>

#include "platform/persistence/sqlite/DirectoryEntries.h"

namespace velto {

/// One call of SQLite to a file, or one of the store to a directory.
struct FileCall {
  enum class Kind { kOpen, kRead, kWrite, kTruncate, kSync, kDelete, kRename, kSyncDirectory };

  Kind kind;
  std::string path;
  std::int64_t offset = 0;  ///< of a read or a write; of a truncation, the new size
  std::string data = {};    ///< of a write; of a renaming, the new path
};

/// Sees the calls before they are made, on the threads that make them.
class FileObserver {
 public:
  struct Verdict {
    int result = SQLITE_OK;   ///< anything else fails the call with it, and it is not made,
    std::size_t written = 0;  ///< except for these first bytes of a write
  };

  virtual ~FileObserver() = default;
  virtual Verdict before(const FileCall& call) = 0;
};

/// While this object lives, SQLite's files, all of them, go through the observer, and so does what
/// a store changes in directories, when it is made with this object. Syncs are not passed on: what
/// a disk holds after one is for the tests to say. One at a time; made and dropped while no
/// connection is open.
class InterceptedFiles : public DirectoryEntries {
 public:
  explicit InterceptedFiles(FileObserver& observer);
  ~InterceptedFiles() override;
  InterceptedFiles(const InterceptedFiles&) = delete;
  InterceptedFiles& operator=(const InterceptedFiles&) = delete;

  std::optional<Error> rename(const std::string& from, const std::string& to) const override;
  std::optional<Error> remove(const std::string& file) const override;
  std::optional<Error> sync(const std::string& directory) const override;

 private:
  struct Registration;

  std::optional<Error> failure(const FileCall& call) const;

  std::unique_ptr<Registration> registration_;
};

}  // namespace velto
