// SPDX-License-Identifier: Apache-2.0
#include "platform/foundation/TimerDescriptor.h"

#include <sys/timerfd.h>
#include <utility>

namespace velto {

namespace {

int set(int timer, std::chrono::milliseconds time) {
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(time);
  const std::chrono::nanoseconds rest = time - seconds;
  const itimerspec expiry{{0, 0}, {seconds.count(), rest.count()}};
  return ::timerfd_settime(timer, 0, &expiry, nullptr);
}

}  // namespace

FileDescriptor timerExpiringAfter(std::chrono::milliseconds time) {
  FileDescriptor file = idleTimer();
  return file.isOpen() && set(file.get(), time) == 0 ? std::move(file) : FileDescriptor();
}

FileDescriptor idleTimer() {
  return FileDescriptor(::timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK));
}

void setTimer(int timer, std::chrono::milliseconds time) {
  set(timer, time);  // which a timer's descriptor and a valid time cannot fail
}

}  // namespace velto
