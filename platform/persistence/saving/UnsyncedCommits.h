// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>

#include "platform/foundation/Mutex.h"

namespace velto {

/// Which commits can be read already and may still be lost with the power, so that nobody is told
/// what he could not read again. They are numbered from 1 on. One thread at a time commits, and one
/// syncs; any thread reads.
class UnsyncedCommits {
 public:
  UnsyncedCommits() = default;
  UnsyncedCommits(const UnsyncedCommits&) = delete;
  UnsyncedCommits& operator=(const UnsyncedCommits&) = delete;

  /// From now on another one can be read.
  void begin() { ++last_; }
  /// The last one has been synced already, or nobody can read it any more.
  void drop() noexcept;
  /// The first of them is on disk.
  void noteSynced() noexcept;
  /// None of them can be read any more by who begins now, and none will follow.
  void dropAll() noexcept;

  /// How often commits that could be read have been taken back. To be asked before one reads.
  std::uint64_t losses() const { return losses_; }
  /// Waits until all that can be read now is on disk. To be asked when reading has begun, and sees
  /// no more. False when something may be seen that is no more: begin again.
  bool wait(std::uint64_t losses);

 private:
  void setLast(std::uint64_t last) noexcept;

  std::atomic<std::uint64_t> last_ = 0;
  std::atomic<std::uint64_t> synced_ = 0;
  std::atomic<std::uint64_t> losses_ = 0;
  Mutex mutex_;  ///< held by whoever tells those that wait
  std::condition_variable hasChanged_;
};

}  // namespace velto
