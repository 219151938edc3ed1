// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <span>
#include <string>

#include "daemon/EventLog.h"
#include "platform/connection/ReplyStream.h"
#include "platform/foundation/Mutex.h"
#include "platform/persistence/CommitObserver.h"

namespace velto {

/// Which changes a follower is told: all, or those of the alerts of a bundle, or a type, or both.
struct FollowedChanges {
  std::optional<std::string> bundle;
  std::optional<std::string> type;

  bool areAll() const { return !bundle && !type; }
};

/// Tells followers of the store's changes, in the order of the commits, as events of the watching
/// interface. Events are numbered from 1 on, also those that nobody is told.
///
/// Each event is made once, and kept once for all followers, until the last of them has been told;
/// of those that have not been told, at most kMostKept bytes are kept. A follower for whom one had
/// to be dropped is told that it has lost some, and no more until then.
///
/// Any thread, several at once; the observer's part by one at a time. Outlives its followers.
class ChangeFeed {
 public:
  static constexpr std::size_t kMostKept = std::size_t{896} * 1024;
  /// A part of a message is not much longer. With the kept events it stays below 1 MiB.
  static constexpr std::size_t kPartSize = std::size_t{64} * 1024;
  /// Between two messages to a follower.
  static constexpr std::chrono::milliseconds kPause{100};

  using Moment = std::chrono::steady_clock::time_point;

  ChangeFeed() = default;
  ~ChangeFeed();
  ChangeFeed(const ChangeFeed&) = delete;
  ChangeFeed& operator=(const ChangeFeed&) = delete;

  /// Tells changes from now on. Its first message, which is ready at once, says from where on.
  std::unique_ptr<ReplyStream> follow(FollowedChanges wanted);

  /// Whether there is anybody to be told.
  bool isFollowed() const noexcept { return followerCount_ != 0; }
  /// A commit has changed so many rows; these, where somebody followed when it began.
  void add(std::uint64_t count, std::span<const ChangedRow> rows) noexcept;

  /// `alarm` is called, on any thread and under the feed's lock, to have `pace` called after the
  /// time. Without one nobody is told anything but a first message.
  void setAlarm(std::function<void(std::chrono::milliseconds)> alarm);
  /// Lets the followers be told what has come.
  void pace(Moment now);

 private:
  class Follower;
  void addRow(const ChangedRow& row) VELTO_REQUIRES(mutex_);
  bool isWanted(const ChangeEvent& event) const VELTO_REQUIRES(mutex_);
  void loseAll() VELTO_REQUIRES(mutex_);
  void trim() VELTO_REQUIRES(mutex_);
  void dropOldest() VELTO_REQUIRES(mutex_);
  void setPace(Moment now) VELTO_REQUIRES(mutex_);

  mutable Mutex mutex_;
  std::function<void(std::chrono::milliseconds)> alarm_ VELTO_GUARDED_BY(mutex_);
  bool isPaceSet_ VELTO_GUARDED_BY(mutex_) = false;
  Moment lastPace_ VELTO_GUARDED_BY(mutex_);
  EventLog log_ VELTO_GUARDED_BY(mutex_);
  std::set<Follower*> followers_ VELTO_GUARDED_BY(mutex_);
  std::atomic<std::size_t> followerCount_ = 0;
};

}  // namespace velto
