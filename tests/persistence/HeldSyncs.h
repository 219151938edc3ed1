// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <condition_variable>
#include <mutex>

#include <sqlite3.h>

#include "tests/support/InterceptedFiles.h"

namespace velto {

/// Holds the syncs of a log back, so that a test can look at what is going on meanwhile.
class HeldSyncs : public FileObserver {
 public:
  Verdict before(const FileCall& call) override {
    using Kind = FileCall::Kind;
    if (!call.path.ends_with("-wal")) return {};
    std::unique_lock lock(mutex_);
    if (call.kind == Kind::kRead) {
      ++read_;
      changed_.notify_all();
    }
    if (call.kind != Kind::kSync) return {};
    ++begun_;
    changed_.notify_all();
    changed_.wait(lock, [this] { return !isHolding_ || allowed_ > 0; });
    if (isHolding_) --allowed_;
    return {result_, 0};
  }

  /// From now on each sync waits.
  void hold() {
    const std::lock_guard lock(mutex_);
    isHolding_ = true;
    begun_ = 0;
    read_ = 0;
  }
  /// Waits until so many have begun since then.
  void waitFor(int begun) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return begun_ >= begun; });
  }
  int begun() {
    const std::lock_guard lock(mutex_);
    return begun_;
  }
  /// Waits until the log has been read since then.
  void waitForRead() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return read_ > 0; });
  }
  /// Lets one go on.
  void allowOne() {
    const std::lock_guard lock(mutex_);
    ++allowed_;
    changed_.notify_all();
  }
  /// Lets all go on, also those to come, with this result.
  void allowAll(int result = SQLITE_OK) {
    const std::lock_guard lock(mutex_);
    isHolding_ = false;
    result_ = result;
    changed_.notify_all();
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  bool isHolding_ = false;
  int begun_ = 0;
  int allowed_ = 0;
  int read_ = 0;
  int result_ = SQLITE_OK;
};

}  // namespace velto
