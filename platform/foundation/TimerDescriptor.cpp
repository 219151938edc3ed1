// SPDX-License-Identifier: Apache-2.0
#include "platform/foundation/TimerDescriptor.h"

#include <sys/timerfd.h>

namespace velto {

FileDescriptor timerExpiringAfter(std::chrono::milliseconds time) {
  FileDescriptor file(::timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC));
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(time);
  const std::chrono::nanoseconds rest = time - seconds;
  const itimerspec expiry{{0, 0}, {seconds.count(), rest.count()}};
  if (file.isOpen() && ::timerfd_settime(file.get(), 0, &expiry, nullptr) != 0) {
    return {};
  }
  return file;
}

}  // namespace velto
