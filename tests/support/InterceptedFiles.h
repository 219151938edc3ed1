#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include <sqlite3.h>

namespace velto {

/// One call of SQLite to a file.
struct FileCall {
  enum class Kind { kOpen, kRead, kWrite, kTruncate, kSync, kDelete };

  Kind kind;
  std::string path;
  /// Of a read or a write; of a truncation, the new size; of a deletion, whether it lasts.
  std::int64_t offset = 0;
  std::string data = {};  ///< of a write
};

/// Sees SQLite's calls before they are made, on the threads that make them.
class FileObserver {
 public:
  struct Verdict {
    int result = SQLITE_OK;   ///< anything else is the call's result, and the call is not made,
    std::size_t written = 0;  ///< except for these first bytes of a write
  };

  virtual ~FileObserver() = default;
  virtual Verdict before(const FileCall& call) = 0;
};

/// While this object lives, SQLite's files, all of them, go through the observer. Syncs are not
/// passed on: what a disk holds after one is for the tests to say. One at a time; made and dropped
/// while no connection is open.
class InterceptedFiles {
 public:
  explicit InterceptedFiles(FileObserver& observer);
  ~InterceptedFiles();
  InterceptedFiles(const InterceptedFiles&) = delete;
  InterceptedFiles& operator=(const InterceptedFiles&) = delete;

 private:
  struct Registration;
  std::unique_ptr<Registration> registration_;
};

}  // namespace velto
