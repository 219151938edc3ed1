// SPDX-License-Identifier: Apache-2.0
#include "platform/process/ChildProcess.h"

#include <cerrno>
#include <csignal>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace velto {

std::optional<ChildProcess> ChildProcess::start(const std::string& executable,
                                                const std::vector<std::string>& arguments,
                                                const SpawnSettings& settings, ErrorSlot error) {
  pid_t process = -1;
  if (const int code = spawnProgram(executable, arguments, settings, process); code != 0) {
    setIfEmpty(error, makePOSIXError(code, "Cannot start " + executable));
    return std::nullopt;
  }
  return ChildProcess(process, settings.leadsGroup);
}

ChildProcess::~ChildProcess() {
  kill();
}

ChildProcess::ChildProcess(ChildProcess&& other) noexcept
    : process_(std::exchange(other.process_, -1)), leadsGroup_(other.leadsGroup_) {}

FileDescriptor ChildProcess::descriptorOfEnd() const {
  // The C library's header for this is not made for C++.
  return FileDescriptor(static_cast<int>(::syscall(SYS_pidfd_open, process_, 0)));
}

ProcessEnd ChildProcess::wait() {
  if (process_ == -1) {
    return end_;
  }
  int status = 0;
  pid_t waited = -1;
  do {
    waited = ::waitpid(process_, &status, 0);
  } while (waited == -1 && errno == EINTR);
  process_ = -1;
  if (waited != -1) {
    end_ = WIFSIGNALED(status) ? ProcessEnd{ProcessEnd::Kind::kSignalled, WTERMSIG(status)}
                               : ProcessEnd{ProcessEnd::Kind::kExited, WEXITSTATUS(status)};
  }
  return end_;
}

void ChildProcess::kill() {
  // To the system -1 would be every process there is.
  if (process_ != -1) {
    ::kill(leadsGroup_ ? -process_ : process_, SIGKILL);
    wait();
  }
}

}  // namespace velto
