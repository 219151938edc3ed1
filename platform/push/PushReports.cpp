// SPDX-License-Identifier: Apache-2.0
#include "platform/push/PushReports.h"

#include <utility>

namespace velto {

void PushReports::expectOne() {
  const MutexLock lock(mutex_);
  ++missing_;
}

void PushReports::add(PushOutcome outcome) {
  const MutexLock lock(mutex_);
  if (isGivenUp_) {
    return;
  }
  --missing_;
  const bool isFailure = !std::holds_alternative<std::monostate>(outcome);
  if (isFailure) {
    failures_.push_back(std::move(outcome));
  }
  // An accepted notification is nothing to wake up for, unless it was the last.
  if (isFailure || missing_ == 0) {
    changed_.notify_all();
  }
}

std::optional<PushOutcome> PushReports::takeFailure() {
  const MutexLock lock(mutex_);
  return take();
}

std::optional<PushOutcome> PushReports::waitForFailure(Clock::time_point deadline) {
  MutexLock lock(mutex_);
  while (failures_.empty() && missing_ > 0 && !isGivenUp_) {
    if (Clock::now() >= deadline) {
      return std::nullopt;
    }
    lock.waitUntil(changed_, deadline);
  }
  return take();
}

std::size_t PushReports::giveUp() {
  const MutexLock lock(mutex_);
  isGivenUp_ = true;
  return std::exchange(missing_, 0);
}

bool PushReports::isGivenUp() const {
  const MutexLock lock(mutex_);
  return isGivenUp_;
}

std::optional<PushOutcome> PushReports::take() {
  if (failures_.empty()) {
    return std::nullopt;
  }
  PushOutcome failure = std::move(failures_.front());
  failures_.pop_front();
  return failure;
}

}  // namespace velto
