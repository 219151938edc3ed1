// SPDX-License-Identifier: Apache-2.0
#include "daemon/SignalSource.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace velto {
namespace {

/// By signal; the handler can be given nothing. Never closed: a signal may come when its source has
/// gone, and the number could be another file's by then.
std::array<int, NSIG> events{};

void note(int signal) {
  const int earlier = errno;
  ::eventfd_write(events[static_cast<std::size_t>(signal)], 1);
  errno = earlier;
}

FileDescriptor eventOf(int signal) {
  int& event = events[static_cast<std::size_t>(signal)];
  event = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
  return FileDescriptor(::fcntl(event, F_DUPFD_CLOEXEC, 0));
}

}  // namespace

SignalSource::SignalSource(int signal, int flags) : EventSource(eventOf(signal)) {
  struct sigaction action {};
  action.sa_handler = note;
  action.sa_flags = flags | SA_RESTART;
  ::sigaction(signal, &action, nullptr);
}

void SignalSource::take() const noexcept {
  eventfd_t count = 0;
  ::eventfd_read(descriptor(), &count);
}

}  // namespace velto
