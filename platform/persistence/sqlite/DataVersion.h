// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <optional>

#include "platform/foundation/Mutex.h"
#include "platform/persistence/sqlite/ReaderPool.h"

namespace velto {

/// A number that is another one when something has been committed since. Asking SQLite for it takes
/// locks of the file, which costs more than most answers that depend on it, so what SQLite said is
/// trusted for a moment, or until somebody of this process has committed. Any thread.
class DataVersion {
 public:
  /// Keeps one of the readers to itself, from the first question on.
  explicit DataVersion(ReaderPool& readers) : readers_(readers) {}
  DataVersion(const DataVersion&) = delete;
  DataVersion& operator=(const DataVersion&) = delete;

  /// Somebody of this process may have committed.
  void noteCommit() { ++commits_; }
  /// Nothing when it cannot be had.
  std::optional<std::int64_t> get();

 private:
  void ask() VELTO_REQUIRES(mutex_);

  ReaderPool& readers_;
  std::atomic<std::uint64_t> commits_ = 0;
  Mutex mutex_;
  /// Always the same one, since versions of different connections cannot be compared.
  ReaderPool::Reader reader_ VELTO_GUARDED_BY(mutex_);
  std::optional<std::int64_t> version_ VELTO_GUARDED_BY(mutex_);
  std::uint64_t seenCommits_ VELTO_GUARDED_BY(mutex_) = 0;
  std::chrono::steady_clock::time_point asked_ VELTO_GUARDED_BY(mutex_);
};

}  // namespace velto
