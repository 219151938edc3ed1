// SPDX-License-Identifier: Apache-2.0
#include "platform/process/ChildProcess.h"

#include <cerrno>
#include <csignal>
#include <fstream>
#include <string>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace velto {
namespace {

/// What a script names as its interpreter; empty for what is no script.
std::string interpreterOf(const std::string& executable) {
  std::ifstream script(executable);
  std::string line;
  if (!std::getline(script, line) || !line.starts_with("#!")) return {};
  const auto start = line.find_first_not_of(" \t", 2);
  return start == std::string::npos ? ""
                                    : line.substr(start, line.find_first_of(" \t", start) - start);
}

/// The system has the same code for a script and for its interpreter.
Error notStarted(const std::string& executable, int code) {
  const std::string what = "Cannot start " + executable;
  std::string interpreter =
      code == ENOENT && ::access(executable.c_str(), F_OK) == 0 ? interpreterOf(executable) : "";
  if (interpreter.empty()) return makePOSIXError(code, what);
  const bool isOfDOS = interpreter.ends_with('\r');
  if (isOfDOS) interpreter.pop_back();
  return makeError(kPOSIXErrorDomain, code,
                   what + (isOfDOS ? ": its lines end in CR LF, which is taken as a part of its "
                                     "interpreter's name, " +
                                         interpreter
                                   : ": its interpreter " + interpreter + " does not exist"));
}

}  // namespace

std::optional<ChildProcess> ChildProcess::start(const std::string& executable,
                                                const std::vector<std::string>& arguments,
                                                const SpawnSettings& settings, ErrorSlot error) {
  pid_t process = -1;
  if (const int code = spawnProgram(executable, arguments, settings, process); code != 0) {
    setIfEmpty(error, notStarted(executable, code));
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
