// SPDX-License-Identifier: Apache-2.0
#include "daemon/StopSignal.h"

#include <csignal>
#include <sys/eventfd.h>
#include <unistd.h>

#include <systemd/sd-daemon.h>

namespace velto {
namespace {

/// The service manager kills what has not ended ten seconds later.
constexpr unsigned kLongestStop = 80;

/// Of the one object; the handler can be given nothing.
int stopEvent = -1;

void noteStop(int /*signal*/) {
  ::eventfd_write(stopEvent, 1);
}

}  // namespace

StopSignal::StopSignal(RunLoop& runLoop)
    : EventSource(FileDescriptor(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))), runLoop_(runLoop) {
  stopEvent = descriptor();
  struct sigaction action {};
  action.sa_handler = noteStop;
  // After the first one the signal does what it does by default.
  action.sa_flags = static_cast<int>(SA_RESETHAND) | SA_RESTART;
  ::sigaction(SIGTERM, &action, nullptr);
}

Event StopSignal::serve() noexcept {
  ::sd_notify(0, "STOPPING=1");
  ::alarm(kLongestStop);
  runLoop_.stop();
  return Event::kNone;
}

}  // namespace velto
