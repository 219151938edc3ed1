// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <condition_variable>
#include <deque>
#include <memory>

#include "platform/foundation/SerialQueue.h"
#include "platform/push/PushTransfers.h"

namespace velto {

/// Sends notifications on a thread of its own, which begins with the first one. When the sender
/// goes, what has no answer yet is reported as given up. Any thread.
///
/// A job of the queue is not one notification but all that comes until nothing is under way, since
/// libcurl has them share a connection.
class PushSender {
 public:
  PushSender(const PushTimeLimits& limits, const Clock& clock);
  ~PushSender();
  PushSender(const PushSender&) = delete;
  PushSender& operator=(const PushSender&) = delete;

  /// Every notification is reported exactly once.
  void send(PushNotification notification);
  /// Somebody has given up: nothing more is to be done for them.
  void forgetGivenUp();
  /// Waits until nothing is under way, or time is up.
  void waitUntilIdle();

 private:
  bool add(PushNotification& notification) VELTO_EXCLUDES(mutex_);
  void begin() VELTO_EXCLUDES(mutex_);
  void dropWaiting() VELTO_EXCLUDES(mutex_);
  bool hasWork() VELTO_EXCLUDES(mutex_);
  void startWaiting() VELTO_EXCLUDES(mutex_);
  void failWaiting(const PushTransfers::ConnectionFailure& failure) VELTO_EXCLUDES(mutex_);
  void dropGivenUp() VELTO_EXCLUDES(mutex_);
  void work() noexcept;
  void goOn() VELTO_EXCLUDES(mutex_);

  const PushTimeLimits limits_;
  const Clock& clock_;
  /// Made once there is a thread, and its own but for wakeUp().
  std::unique_ptr<PushTransfers> transfers_;

  Mutex mutex_;
  std::condition_variable becameIdle_;
  std::deque<PushNotification> waiting_ VELTO_GUARDED_BY(mutex_);
  bool isIdle_ VELTO_GUARDED_BY(mutex_) = true;  ///< the queue has no job
  bool hasGivenUp_ VELTO_GUARDED_BY(mutex_) = false;
  bool isAwake_ VELTO_GUARDED_BY(mutex_) = false;  ///< the thread will look for work by itself
  bool stops_ VELTO_GUARDED_BY(mutex_) = false;

  SerialQueue queue_;  ///< ends first, since its job needs all the others
};

}  // namespace velto
