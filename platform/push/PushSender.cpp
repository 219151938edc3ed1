#include "platform/push/PushSender.h"

#include <algorithm>
#include <system_error>
#include <utility>

#include "platform/push/PushErrors.h"

namespace velto {

PushSender::PushSender(const PushTimeLimits& limits) : limits_(limits) {}

PushSender::~PushSender() {
  std::thread thread;
  std::deque<PushNotification> unsent;
  {
    const MutexLock lock(mutex_);
    stops_ = true;
    thread = std::move(thread_);
    unsent.swap(waiting_);
  }
  workCame_.notify_all();
  if (thread.joinable()) {
    transfers_->wakeUp();
    thread.join();
  }
  for (const PushNotification& notification : unsent) {
    notification.reports->add(pushCancelled());
  }
}

void PushSender::send(PushNotification notification) {
  notification.reports->expectOne();
  if (!add(notification)) {
    notification.reports->add(
        makeError(kPushServiceErrorDomain, kPushNoThreadErrorCode, "No thread can be started."));
  }
}

/// False, with the notification left to the caller, when there is nobody to send it.
bool PushSender::add(PushNotification& notification) {
  bool isAsleep = false;
  {
    const MutexLock lock(mutex_);
    if (!thread_.joinable()) {
      try {
        transfers_ = std::make_unique<PushTransfers>(limits_);
        thread_ = std::thread([this] { work(); });
      } catch (const std::system_error&) {
        return false;
      }
    }
    waiting_.push_back(std::move(notification));
    isIdle_ = false;
    isAsleep = !std::exchange(isAwake_, true);
  }
  if (isAsleep) {
    workCame_.notify_all();
    transfers_->wakeUp();
  }
  return true;
}

void PushSender::forgetGivenUp() {
  {
    const MutexLock lock(mutex_);
    if (!thread_.joinable()) {
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

/// False when it is time to stop.
bool PushSender::waitForWork() {
  MutexLock lock(mutex_);
  while (transfers_->isEmpty() && waiting_.empty() && !stops_) {
    transfers_->releaseMemory();
    isIdle_ = true;
    becameIdle_.notify_all();
    lock.wait(workCame_);
  }
  return !stops_;
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
  for (const PushNotification& notification : failed) {
    notification.reports->add(failure.error);
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

void PushSender::work() {
  while (waitForWork()) {
    dropGivenUp();
    if (const auto failure = transfers_->perform()) {
      failWaiting(*failure);
    }
    startWaiting();
    if (!transfers_->isEmpty()) {
      transfers_->wait();
    }
  }
}

}  // namespace velto
