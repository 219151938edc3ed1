// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <optional>
#include <span>

#include "platform/foundation/Error.h"
#include "platform/foundation/Mutex.h"
#include "platform/persistence/CommitObserver.h"
#include "platform/persistence/PersistentStoreCoordinator.h"
#include "protocol/MonitorValues.h"

namespace velto {

/// How many alerts there are, unread and unresolved ones among them, as the last commit left them.
/// They are counted when somebody asks for the first time, and kept up with the commits from then
/// on. Any thread; the observer's part by one at a time.
class AlertCounts {
 public:
  /// Nothing with the error when they cannot be counted.
  std::optional<MonitorCounts> get(PersistentStoreCoordinator& coordinator, ErrorSlot error);

  /// Whether commits are to be told.
  bool areWanted() const noexcept { return areWanted_; }
  void add(std::span<const ChangedRow> rows) noexcept;

 private:
  std::optional<MonitorCounts> known() const;

  std::atomic<bool> areWanted_ = false;
  Mutex counting_;  ///< held by whoever counts
  mutable Mutex mutex_;
  bool areKnown_ VELTO_GUARDED_BY(mutex_) = false;
  MonitorCounts counts_ VELTO_GUARDED_BY(mutex_);  ///< or what came since the counting began
};

}  // namespace velto
