// SPDX-License-Identifier: Apache-2.0
#include "platform/process/Task.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace velto {
namespace {

constexpr int kUnknownStatus = 255;
constexpr int kFirstSignalStatus = 128;

[[noreturn]] void fail(int code, const std::string& what) {
  throw std::system_error(code, std::generic_category(), what);
}

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

Task::Task(std::string executable, std::vector<std::string> arguments)
    : executable_(std::move(executable)), arguments_(std::move(arguments)) {}

Task::~Task() {
  waitUntilExit();
}

void Task::launch() {
  if (process_) {
    fail(EALREADY, executable_);
  }
  std::array<int, 2> ends;
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
    fail(errno, "pipe");
  }
  const FileDescriptor childsEnd(ends[0]);
  FileDescriptor ourEnd(ends[1]);
  std::optional<Error> error;
  auto started = ChildProcess::start(
      executable_, arguments_,
      {.standardInput = childsEnd.get(), .environment = inheritableEnvironment()}, &error);
  if (!started) {
    fail(static_cast<int>(error->code), "Cannot start " + executable_);
  }
  process_.emplace(std::move(*started));
  input_ = std::move(ourEnd);
  terminationStatus_ = 0;
}

void Task::write(std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = ::write(input_.get(), bytes.data(), bytes.size());
    if (count >= 0) {
      bytes.remove_prefix(static_cast<std::size_t>(count));
    } else if (errno != EINTR) {
      fail(errno, "Cannot write to " + executable_);
    }
  }
}

void Task::closeInput() {
  input_ = FileDescriptor();
}

void Task::waitUntilExit() {
  closeInput();
  if (process_) {
    terminationStatus_ = statusOf(process_->wait());
    process_.reset();
  }
}

}  // namespace velto
