// SPDX-License-Identifier: Apache-2.0
#include "daemon/StopSignal.h"

#include <csignal>
#include <unistd.h>

#include <systemd/sd-daemon.h>

namespace velto {
namespace {

/// The service manager kills what has not ended ten seconds later (TimeoutStopSec in the unit).
constexpr unsigned kLongestStop = 80;

}  // namespace

// After the first one the signal does what it does by default.
StopSignal::StopSignal(RunLoop& runLoop)
    : SignalSource(SIGTERM, static_cast<int>(SA_RESETHAND)), runLoop_(runLoop) {}

Event StopSignal::serve() noexcept {
  ::sd_notify(0, "STOPPING=1");
  ::alarm(kLongestStop);
  runLoop_.stop();
  return Event::kNone;
}

}  // namespace velto
