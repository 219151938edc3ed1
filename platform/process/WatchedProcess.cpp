// SPDX-License-Identifier: Apache-2.0
#include "platform/process/WatchedProcess.h"

#include <array>
#include <cerrno>
#include <poll.h>
#include <utility>

#include "platform/foundation/TimerDescriptor.h"

namespace velto {
namespace {

/// The output goes to each descriptor that has not been said.
void fillIn(int& descriptor, const KeptOutput& output) {
  descriptor = descriptor == -1 ? output.writer() : descriptor;
}

}  // namespace

std::optional<WatchedProcess> WatchedProcess::start(const std::string& executable,
                                                    const std::vector<std::string>& arguments,
                                                    SpawnSettings settings,
                                                    std::chrono::milliseconds timeLimit,
                                                    ErrorSlot error) {
  const auto fail = [&] {
    setIfEmpty(error, makePOSIXError(errno, "Cannot start " + executable));
    return std::nullopt;
  };
  KeptOutput output;
  if (!output.isOpen()) {
    return fail();
  }
  FileDescriptor timer = timerExpiringAfter(timeLimit);
  if (!timer.isOpen()) {
    return fail();
  }
  fillIn(settings.standardOutput, output);
  fillIn(settings.standardError, output);
  settings.leadsGroup = true;
  auto child = ChildProcess::start(executable, arguments, settings, error);
  if (!child) {
    return std::nullopt;
  }
  output.closeWriter();
  FileDescriptor end = child->descriptorOfEnd();
  // Where the kernel keeps no ends, the program may have come and gone.
  if (!end.isOpen() && errno != ESRCH) {
    return fail();
  }
  return WatchedProcess(std::move(*child), std::move(end), std::move(timer), std::move(output));
}

WatchedProcess::WatchedProcess(ChildProcess child, FileDescriptor end, FileDescriptor timer,
                               KeptOutput output)
    : child_(std::move(child)),
      end_(std::move(end)),
      timer_(std::move(timer)),
      output_(std::move(output)) {}

bool WatchedProcess::waitUntilWritable(int descriptor) {
  return nextEvent(descriptor) == Event::kWritable;
}

ProcessEnd WatchedProcess::waitUntilExit() {
  nextEvent(-1);
  const ProcessEnd end = child_.wait();
  output_.readSome();
  return end;
}

WatchedProcess::Event WatchedProcess::nextEvent(int writable) {
  while (end_.isOpen() && !hasTimedOut_) {
    std::array<pollfd, 4> waits = {{{end_.get(), POLLIN, 0},
                                    {timer_.get(), POLLIN, 0},
                                    {output_.reader(), POLLIN, 0},
                                    {writable, POLLOUT, 0}}};
    if (::poll(waits.data(), waits.size(), -1) < 0) {
      continue;  // interrupted
    }
    if (waits[0].revents != 0) {
      break;
    }
    if (waits[1].revents != 0) {
      hasTimedOut_ = true;
      child_.kill();
    } else if (waits[3].revents != 0) {
      return Event::kWritable;
    } else {
      output_.readSome();
    }
  }
  return Event::kOver;
}

}  // namespace velto
