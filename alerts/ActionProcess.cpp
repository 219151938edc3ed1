// SPDX-License-Identifier: Apache-2.0
#include "alerts/ActionProcess.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <unistd.h>
#include <utility>

#include "platform/foundation/FileDescriptor.h"
#include "platform/foundation/TimerDescriptor.h"
#include "platform/process/ChildProcess.h"

namespace velto {
namespace {

/// So much of the standard error is kept; what comes after is read and dropped.
constexpr std::size_t kMaximumErrorText = 16384;

/// A file without a name that holds the text: whoever reads it slowly, or not at all, holds up
/// nobody.
FileDescriptor fileHolding(std::string_view text) {
  FileDescriptor file(::memfd_create("alert", MFD_CLOEXEC));
  while (file.isOpen() && !text.empty()) {
    const ssize_t count = ::write(file.get(), text.data(), text.size());
    if (count < 0) {
      return {};
    }
    text.remove_prefix(static_cast<std::size_t>(count));
  }
  if (file.isOpen() && ::lseek(file.get(), 0, SEEK_SET) != 0) {
    return {};
  }
  return file;
}

/// Appends what can be read at once; false at the end.
bool readSome(int descriptor, std::string& text) {
  std::array<char, 4096> buffer;
  const ssize_t count = ::read(descriptor, buffer.data(), buffer.size());
  if (count > 0 && text.size() < kMaximumErrorText) {
    text.append(buffer.data(), static_cast<std::size_t>(count));
    text.resize(std::min(text.size(), kMaximumErrorText));
  }
  return count > 0 || (count < 0 && (errno == EAGAIN || errno == EINTR));
}

/// Reads the standard error until the program has ended; false when the time is over before.
bool readUntilExit(int standardError, int process, int timer, std::string& text) {
  std::array<pollfd, 3> waits = {
      {{process, POLLIN, 0}, {timer, POLLIN, 0}, {standardError, POLLIN, 0}}};
  for (;;) {
    if (::poll(waits.data(), waits.size(), -1) < 0) {
      continue;  // interrupted
    }
    const bool hasText = waits[2].revents != 0;
    if (hasText && !readSome(standardError, text)) {
      waits[2].fd = -1;
    }
    if (waits[0].revents != 0 && !hasText) {
      return true;
    }
    if (waits[1].revents != 0) {
      return waits[0].revents != 0;
    }
  }
}

/// What the program gets, and what is watched of it.
struct Descriptors {
  Descriptors(std::string_view text, std::chrono::milliseconds timeLimit)
      : input(fileHolding(text)),
        output(::open("/dev/null", O_WRONLY | O_CLOEXEC)),
        limit(timerExpiringAfter(timeLimit)) {
    std::array<int, 2> ends;
    if (::pipe2(ends.data(), O_CLOEXEC) == 0) {
      errorReader = FileDescriptor(ends[0]);
      errorWriter = FileDescriptor(ends[1]);
      ::fcntl(ends[0], F_SETFL, O_NONBLOCK);
    }
  }

  bool areOpen() const {
    return input.isOpen() && output.isOpen() && limit.isOpen() && errorReader.isOpen();
  }

  const FileDescriptor input;
  const FileDescriptor output;
  const FileDescriptor limit;
  FileDescriptor errorReader;
  FileDescriptor errorWriter;
};

std::optional<ChildProcess> start(const std::string& executable,
                                  const std::vector<std::string>& arguments,
                                  const Descriptors& descriptors, ErrorSlot error) {
  return ChildProcess::start(
      executable, arguments,
      {.standardInput = descriptors.input.get(),
       .standardOutput = descriptors.output.get(),
       .standardError = descriptors.errorWriter.get(),
       .environment = {"PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin",
                       "LC_ALL=C.UTF-8"},
       .leadsGroup = true},
      error);
}

std::optional<ActionOutcome> outcomeOf(const ProcessEnd& end, std::string standardError,
                                       ErrorSlot error) {
  using Kind = ActionOutcome::Kind;
  if (end.kind == ProcessEnd::Kind::kUnseen) {
    setIfEmpty(error, makeError(kPOSIXErrorDomain, ECHILD, "Its end was not seen."));
    return std::nullopt;
  }
  const bool hasExited = end.kind == ProcessEnd::Kind::kExited;
  return ActionOutcome{hasExited ? Kind::kExited : Kind::kSignalled, end.number,
                       std::move(standardError)};
}

}  // namespace

std::optional<ActionOutcome> runAction(const std::string& executable,
                                       const std::vector<std::string>& arguments,
                                       std::string_view input, std::chrono::milliseconds limit,
                                       ErrorSlot error) {
  const auto failToStart = [&](int code) {
    setIfEmpty(error, makePOSIXError(code, "Cannot start " + executable));
    return std::nullopt;
  };
  Descriptors descriptors(input, limit);
  if (!descriptors.areOpen()) {
    return failToStart(errno);
  }
  auto child = start(executable, arguments, descriptors, error);
  if (!child) {
    return std::nullopt;
  }
  descriptors.errorWriter = FileDescriptor();
  const FileDescriptor end = child->descriptorOfEnd();
  if (!end.isOpen()) {
    return failToStart(errno);
  }
  std::string text;
  const bool hasEnded =
      readUntilExit(descriptors.errorReader.get(), end.get(), descriptors.limit.get(), text);
  if (!hasEnded) {
    child->kill();
    return ActionOutcome{ActionOutcome::Kind::kTimedOut, 0, std::move(text)};
  }
  return outcomeOf(child->wait(), std::move(text), error);
}

}  // namespace velto
