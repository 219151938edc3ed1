// SPDX-License-Identifier: Apache-2.0
#include "daemon/Watchdog.h"

#include <cstdint>
#include <sys/timerfd.h>
#include <tuple>
#include <unistd.h>
#include <utility>

#include <systemd/sd-daemon.h>

namespace velto {

std::unique_ptr<Watchdog> Watchdog::wanted() {
  std::uint64_t limit = 0;
  if (::sd_watchdog_enabled(0, &limit) <= 0) return nullptr;
  // Three times within the limit, so that one that comes late does not matter.
  constexpr std::uint64_t kMicroseconds = 1'000'000;
  const std::uint64_t interval = limit / 3 + 1;
  const timespec period{.tv_sec = static_cast<time_t>(interval / kMicroseconds),
                        .tv_nsec = static_cast<long>(interval % kMicroseconds * 1000)};
  FileDescriptor timer(::timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK));
  const itimerspec setting{.it_interval = period, .it_value = period};
  if (::timerfd_settime(timer.get(), 0, &setting, nullptr) != 0) return nullptr;
  return std::unique_ptr<Watchdog>(new Watchdog(std::move(timer)));
}

Event Watchdog::serve() noexcept {
  std::uint64_t ticks = 0;
  std::ignore = ::read(descriptor(), &ticks, sizeof ticks);
  ::sd_notify(0, "WATCHDOG=1");
  return Event::kInput;
}

}  // namespace velto
