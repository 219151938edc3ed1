// SPDX-License-Identifier: Apache-2.0
#include "alerts/ActionProcess.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include "platform/foundation/FileDescriptor.h"
#include "platform/process/WatchedProcess.h"

namespace velto {
namespace {

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

SpawnSettings settings(const FileDescriptor& input, const FileDescriptor& output) {
  return {.standardInput = input.get(),
          .standardOutput = output.get(),
          .environment = {"PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin",
                          "LC_ALL=C.UTF-8"}};
}

std::optional<ActionOutcome> outcomeOf(const WatchedProcess& process, const ProcessEnd& end,
                                       ErrorSlot error) {
  using Kind = ActionOutcome::Kind;
  ActionOutcome outcome{Kind::kTimedOut, 0, process.output().text(), process.output().dropped()};
  if (process.hasTimedOut()) {
    return outcome;
  }
  if (end.kind == ProcessEnd::Kind::kUnseen) {
    setIfEmpty(error, makeError(kPOSIXErrorDomain, ECHILD, "Its end was not seen."));
    return std::nullopt;
  }
  const bool hasExited = end.kind == ProcessEnd::Kind::kExited;
  outcome.kind = hasExited ? Kind::kExited : Kind::kSignalled;
  outcome.status = end.number;
  return outcome;
}

}  // namespace

std::optional<ActionOutcome> runAction(const std::string& executable,
                                       const std::vector<std::string>& arguments,
                                       std::string_view input, std::chrono::milliseconds limit,
                                       ErrorSlot error) {
  const FileDescriptor file = fileHolding(input);
  const FileDescriptor output(file.isOpen() ? ::open("/dev/null", O_WRONLY | O_CLOEXEC) : -1);
  if (!output.isOpen()) {
    setIfEmpty(error, makePOSIXError(errno, "Cannot start " + executable));
    return std::nullopt;
  }
  auto process = WatchedProcess::start(executable, arguments, settings(file, output), limit, error);
  if (!process) {
    return std::nullopt;
  }
  const ProcessEnd end = process->waitUntilExit();
  return outcomeOf(*process, end, error);
}

}  // namespace velto
