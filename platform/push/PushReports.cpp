// SPDX-License-Identifier: Apache-2.0
#include "platform/push/PushReports.h"

#include <new>
#include <utility>

namespace velto {

void PushReports::expectOne() {
  const MutexLock lock(mutex_);
  ++missing_;
}

void PushReports::add(PushOutcome outcome) noexcept {
  const MutexLock lock(mutex_);
  if (isGivenUp_) {
    return;
  }
  --missing_;
  const bool isFailure = !std::holds_alternative<std::monostate>(outcome);
  if (isFailure) {
    keep(std::move(outcome));
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
  while (!hasFailure() && missing_ > 0 && !isGivenUp_) {
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

void PushDuty::report(const PushOutcome& outcome) noexcept {
  const auto reports = std::exchange(reports_, nullptr);
  try {
    reports->add(outcome);
  } catch (const std::bad_alloc&) {
    reports->add(outOfMemory());
  }
}

void PushReports::keep(PushOutcome failure) noexcept {
  try {
    failures_.push_back(std::move(failure));
  } catch (const std::bad_alloc&) {
    ++failuresWithoutMemory_;
  }
}

bool PushReports::hasFailure() const {
  return !failures_.empty() || failuresWithoutMemory_ > 0;
}

std::optional<PushOutcome> PushReports::take() {
  if (failuresWithoutMemory_ > 0) {
    --failuresWithoutMemory_;
    return outOfMemory();
  }
  if (failures_.empty()) {
    return std::nullopt;
  }
  PushOutcome failure = std::move(failures_.front());
  failures_.pop_front();
  return failure;
}

}  // namespace velto
