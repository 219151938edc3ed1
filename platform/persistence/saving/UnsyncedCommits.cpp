// SPDX-License-Identifier: Apache-2.0
#include "platform/persistence/saving/UnsyncedCommits.h"

namespace velto {

void UnsyncedCommits::setLast(std::uint64_t last) noexcept {
  {
    const MutexLock lock(mutex_);
    last_ = last;
  }
  hasChanged_.notify_all();
}

void UnsyncedCommits::drop() noexcept {
  setLast(last_ - 1);
}

void UnsyncedCommits::dropAll() noexcept {
  ++losses_;  // first: who finds nothing to wait for must find this
  setLast(synced_);
}

void UnsyncedCommits::noteSynced() noexcept {
  {
    const MutexLock lock(mutex_);
    ++synced_;
  }
  hasChanged_.notify_all();
}

bool UnsyncedCommits::wait(std::uint64_t losses) {
  const std::uint64_t last = last_;
  if (synced_ < last) {
    MutexLock lock(mutex_);
    while (synced_ < last && last_ >= last) {
      lock.wait(hasChanged_);
    }
  }
  return synced_ >= last && losses_ == losses;
}

}  // namespace velto
