// SPDX-License-Identifier: Apache-2.0
#include "platform/process/Task.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

namespace velto {
namespace {

constexpr int kUnknownStatus = 255;
constexpr int kFirstSignalStatus = 128;

int statusOf(const ProcessEnd& end) {
  switch (end.kind) {
    case ProcessEnd::Kind::kExited:
      return end.number;
    case ProcessEnd::Kind::kSignalled:
      return kFirstSignalStatus + end.number;
    case ProcessEnd::Kind::kUnseen:
      break;
  }
  return kUnknownStatus;  // an exit that nobody saw must not pass for success
}

}  // namespace

Task::Task(std::string executable, std::vector<std::string> arguments,
           std::chrono::milliseconds timeLimit)
    : executable_(std::move(executable)), arguments_(std::move(arguments)), timeLimit_(timeLimit) {}

Task::~Task() {
  waitUntilExit();
}

std::optional<Error> Task::launch() {
  if (isRunning_) {
    return makePOSIXError(EALREADY, executable_);
  }
  std::array<int, 2> ends;
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
    return makePOSIXError(errno, "pipe");
  }
  const FileDescriptor childsEnd(ends[0]);
  FileDescriptor ourEnd(ends[1]);
  // Of our end alone: the child's reads wait as it expects them to.
  ::fcntl(ourEnd.get(), F_SETFL, O_NONBLOCK);
  std::optional<Error> error;
  auto started = WatchedProcess::start(
      executable_, arguments_,
      {.standardInput = childsEnd.get(), .environment = inheritableEnvironment()}, timeLimit_,
      &error);
  if (!started) {
    return error;
  }
  process_.emplace(std::move(*started));
  isRunning_ = true;
  input_ = std::move(ourEnd);
  terminationStatus_ = 0;
  return std::nullopt;
}

std::optional<Error> Task::write(std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = ::write(input_.get(), bytes.data(), bytes.size());
    if (count >= 0) {
      bytes.remove_prefix(static_cast<std::size_t>(count));
    } else if (errno == EAGAIN) {
      if (!process_->waitUntilWritable(input_.get())) {
        return makePOSIXError(EPIPE, "Cannot write to " + executable_);
      }
    } else if (errno != EINTR) {
      return makePOSIXError(errno, "Cannot write to " + executable_);
    }
  }
  return std::nullopt;
}

void Task::closeInput() {
  input_ = FileDescriptor();
}

void Task::waitUntilExit() {
  closeInput();
  if (std::exchange(isRunning_, false)) {
    terminationStatus_ = statusOf(process_->waitUntilExit());
  }
}

}  // namespace velto
