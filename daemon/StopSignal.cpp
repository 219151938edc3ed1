// SPDX-License-Identifier: Apache-2.0
#include "daemon/StopSignal.h"

#include <csignal>
#include <sys/signalfd.h>
#include <unistd.h>

#include <systemd/sd-daemon.h>

namespace velto {
namespace {

/// The service manager kills what has not ended ten seconds later.
constexpr unsigned kLongestStop = 80;

sigset_t stopSignals() {
  sigset_t signals;
  ::sigemptyset(&signals);
  ::sigaddset(&signals, SIGTERM);
  return signals;
}

FileDescriptor blockedSignals() {
  const sigset_t signals = stopSignals();
  ::pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  return FileDescriptor(::signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK));
}

}  // namespace

StopSignal::StopSignal(RunLoop& runLoop) : EventSource(blockedSignals()), runLoop_(runLoop) {}

Event StopSignal::serve() noexcept {
  signalfd_siginfo signal{};
  if (::read(descriptor(), &signal, sizeof signal) != sizeof signal) return Event::kInput;
  ::sd_notify(0, "STOPPING=1");
  // One thread that takes the next one is enough for it to end the process.
  const sigset_t signals = stopSignals();
  ::pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
  ::alarm(kLongestStop);
  runLoop_.stop();
  return Event::kNone;
}

}  // namespace velto
