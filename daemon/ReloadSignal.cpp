// SPDX-License-Identifier: Apache-2.0
#include "daemon/ReloadSignal.h"

#include <cinttypes>
#include <csignal>
#include <ctime>
#include <utility>

#include <systemd/sd-daemon.h>

namespace velto {
namespace {

/// By the time the service manager knows that this is the answer to its own signal
/// (Type=notify-reload).
void tellBeginning() {
  timespec now{};
  ::clock_gettime(CLOCK_MONOTONIC, &now);
  constexpr std::int64_t kMicroseconds = 1'000'000;
  ::sd_notifyf(0, "RELOADING=1\nMONOTONIC_USEC=%" PRId64,
               now.tv_sec * kMicroseconds + now.tv_nsec / 1000);
}

}  // namespace

ReloadSignal::ReloadSignal(std::function<void()> reload)
    : SignalSource(SIGHUP, 0), reload_(std::move(reload)) {}

Event ReloadSignal::serve() noexcept {
  take();
  tellBeginning();
  reload_();
  ::sd_notify(0, "READY=1");
  return Event::kInput;
}

}  // namespace velto
