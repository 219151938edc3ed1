// SPDX-License-Identifier: Apache-2.0
#include "platform/push/PushSender.h"

#include <algorithm>
#include <new>
#include <utility>

#include "platform/push/PushErrors.h"

namespace velto {

PushSender::PushSender(const PushTimeLimits& limits, const Clock& clock)
    : limits_(limits), clock_(clock) {}

PushSender::~PushSender() {
  std::deque<PushNotification> unsent;
  {
    const MutexLock lock(mutex_);
    stops_ = true;
    unsent.swap(waiting_);
  }
  if (transfers_ != nullptr) {
    transfers_->wakeUp();
  }
  for (PushNotification& notification : unsent) {
    notification.duty.report(pushCancelled());
  }
}

void PushSender::send(PushNotification notification) {
  if (!add(notification)) {
    notification.duty.report(
        makeError(kPushServiceErrorDomain, kPushNoThreadErrorCode, "No thread can be started."));
  }
}

/// False, with the notification left to the caller, when there is nobody to send it.
bool PushSender::add(PushNotification& notification) {
  bool wasIdle = false;
  bool isAsleep = false;
  {
    const MutexLock lock(mutex_);
    if (!queue_.start()) {
      return false;
    }
    if (transfers_ == nullptr) {
      transfers_ = std::make_unique<PushTransfers>(limits_, clock_);
    }
    waiting_.push_back(std::move(notification));
    wasIdle = std::exchange(isIdle_, false);
    isAsleep = !std::exchange(isAwake_, true);
  }
  if (wasIdle) {
    begin();
  } else if (isAsleep) {
    transfers_->wakeUp();
  }
  return true;
}

/// Without memory for the job nothing is under way, and whatever waits for it has failed.
void PushSender::begin() {
  try {
    queue_.perform([this] { work(); });
  } catch (const std::bad_alloc&) {
    dropWaiting();
    const MutexLock lock(mutex_);
    isIdle_ = true;
    becameIdle_.notify_all();
  }
}

void PushSender::dropWaiting() {
  // In its place: another deque would need memory even to be empty.
  const MutexLock lock(mutex_);
  waiting_.clear();
}

void PushSender::forgetGivenUp() {
  {
    const MutexLock lock(mutex_);
    if (transfers_ == nullptr) {
      return;
    }
    hasGivenUp_ = true;
  }
  transfers_->wakeUp();
}

void PushSender::waitUntilIdle() {
  const auto deadline = std::chrono::steady_clock::now() + limits_.total;
  MutexLock lock(mutex_);
  while (!isIdle_ && std::chrono::steady_clock::now() < deadline) {
    lock.waitUntil(becameIdle_, deadline);
  }
}

/// False when the job is done, or it is time to stop.
bool PushSender::hasWork() {
  const MutexLock lock(mutex_);
  if (!stops_ && !(transfers_->isEmpty() && waiting_.empty())) {
    return true;
  }
  transfers_->releaseMemory();
  isIdle_ = true;
  becameIdle_.notify_all();
  return false;
}

/// Starts as many of the waiting notifications as there is room for.
void PushSender::startWaiting() {
  transfers_->startHeldBack();
  std::vector<PushNotification> next;
  {
    const MutexLock lock(mutex_);
    isAwake_ = false;
    for (std::size_t room = transfers_->room(); room > 0 && !waiting_.empty(); --room) {
      next.push_back(std::move(waiting_.front()));
      waiting_.pop_front();
    }
  }
  for (PushNotification& notification : next) {
    transfers_->start(std::move(notification));
  }
}

/// What waits for a connection that cannot be made has failed already.
void PushSender::failWaiting(const PushTransfers::ConnectionFailure& failure) {
  std::vector<PushNotification> failed;
  {
    const MutexLock lock(mutex_);
    const auto affected = std::stable_partition(
        waiting_.begin(), waiting_.end(), [&](const PushNotification& notification) {
          return !(*notification.message->identity == *failure.identity);
        });
    failed.assign(std::make_move_iterator(affected), std::make_move_iterator(waiting_.end()));
    waiting_.erase(affected, waiting_.end());
  }
  for (PushNotification& notification : failed) {
    notification.duty.report(failure.error);
  }
}

void PushSender::dropGivenUp() {
  bool hasGivenUp = false;
  {
    const MutexLock lock(mutex_);
    hasGivenUp = std::exchange(hasGivenUp_, false);
  }
  if (hasGivenUp) {
    transfers_->dropGivenUp();
  }
}

/// Without memory to begin with a notification it has failed, and so have those after it: this must
/// not go round and round.
void PushSender::work() noexcept {
  while (hasWork()) {
    try {
      goOn();
    } catch (const std::bad_alloc&) {
      dropWaiting();
      transfers_->wait();
    }
  }
}

void PushSender::goOn() {
  dropGivenUp();
  if (const auto failure = transfers_->perform()) {
    failWaiting(*failure);
  }
  startWaiting();
  if (!transfers_->isEmpty()) {
    transfers_->wait();
  }
}

}  // namespace velto
