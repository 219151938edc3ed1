// SPDX-License-Identifier: Apache-2.0
#include "platform/process/Spawn.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <string_view>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/foundation/FileDescriptor.h"

namespace velto {
namespace {

constexpr int kFirstOtherDescriptor = STDERR_FILENO + 1;
constexpr int kNoProgramStatus = 127;

rlim_t softLimitOfOpenFiles() {
  rlimit limit{};
  ::getrlimit(RLIMIT_NOFILE, &limit);
  return limit.rlim_cur;
}

/// What it was before this process had the chance to raise it: this is set before main().
const rlim_t kSoftLimitAtStart = softLimitOfOpenFiles();

/// Everything the child needs, made before its birth: it may not allocate.
struct Plan {
  const char* executable;
  char* const* arguments;
  char* const* environment;
  std::array<int, 3> standard;
  bool leadsGroup;
  int report;  ///< takes the errno of what failed, and closes when the program begins
};

/// None ignored, and none handled: a handler would run in the parent's memory.
void resetSignals() {
  struct sigaction action {};
  action.sa_handler = SIG_DFL;
  for (int signal = 1; signal < NSIG; ++signal) {
    ::sigaction(signal, &action, nullptr);
  }
  sigset_t none;
  sigemptyset(&none);
  ::sigprocmask(SIG_SETMASK, &none, nullptr);
}

/// False, with errno set, when it cannot be had.
bool takeDescriptor(int source, int target) {
  if (source == -1) {
    return true;
  }
  // One that is in its place already would be closed when the program begins.
  return source == target ? ::fcntl(target, F_SETFD, 0) != -1 : ::dup2(source, target) != -1;
}

/// Takes the standard descriptors, and closes everything beyond but the report, also what some
/// library opened without O_CLOEXEC.
bool takeDescriptors(const Plan& plan, int& report) {
  // It may stand where a standard descriptor goes.
  const int moved = ::fcntl(report, F_DUPFD, kFirstOtherDescriptor);
  if (moved == -1) {
    return false;
  }
  report = moved;
  for (int target = STDIN_FILENO; target <= STDERR_FILENO; ++target) {
    if (!takeDescriptor(plan.standard[static_cast<std::size_t>(target)], target)) {
      return false;
    }
  }
  if (!takeDescriptor(report, kFirstOtherDescriptor)) {
    return false;
  }
  report = kFirstOtherDescriptor;
  ::closefrom(report + 1);
  return ::fcntl(report, F_SETFD, FD_CLOEXEC) != -1;
}

bool takeLimit() {
  rlimit limit{};
  if (::getrlimit(RLIMIT_NOFILE, &limit) != 0) {
    return false;
  }
  limit.rlim_cur = std::min(kSoftLimitAtStart, limit.rlim_max);
  return ::setrlimit(RLIMIT_NOFILE, &limit) == 0;
}

/// The child between its birth and its program. It runs on the memory and the stack of the parent,
/// which stands still meanwhile: nothing but system calls.
[[noreturn]] __attribute__((noinline)) void runChild(const Plan& plan) {
  int report = plan.report;
  if ((!plan.leadsGroup || ::setpgid(0, 0) == 0) && takeDescriptors(plan, report) && takeLimit()) {
    resetSignals();
    ::execve(plan.executable, plan.arguments, plan.environment);
  }
  const int code = errno;
  while (::write(report, &code, sizeof code) == -1 && errno == EINTR) {
  }
  ::_exit(kNoProgramStatus);
}

/// The C library's posix_spawn cannot set a limit. Set on the child from outside it would come
/// after the program has begun; lowered for a moment in this process it would fail other threads'
/// open(); a shell in between takes as long again as the program itself. So this is what
/// posix_spawn does inside, with the limit.
int spawn(const Plan& plan, pid_t& process) {
  sigset_t all;
  sigset_t former;
  sigfillset(&all);
  ::pthread_sigmask(SIG_SETMASK, &all, &former);
  // The one way to have a child without a copy of this process's page tables.
  process = ::vfork();  // NOLINT(clang-analyzer-security.insecureAPI.vfork)
  if (process == 0) {
    runChild(plan);
  }
  const int code = process == -1 ? errno : 0;
  ::pthread_sigmask(SIG_SETMASK, &former, nullptr);
  return code;
}

/// What the child reported, 0 for nothing: its program has begun. It goes through a pipe since not
/// everywhere does a child share its parent's memory: sanitizers make a copy.
int reportedError(const FileDescriptor& reader) {
  int code = 0;
  ssize_t count = -1;
  do {
    count = ::read(reader.get(), &code, sizeof code);
  } while (count == -1 && errno == EINTR);
  return count == sizeof code ? code : 0;
}

/// The texts as the kernel takes a list of them. They must stay as they are.
std::vector<char*> pointers(const std::vector<std::string>& texts) {
  std::vector<char*> list;
  list.reserve(texts.size() + 1);
  for (const std::string& text : texts) {
    list.push_back(const_cast<char*>(text.c_str()));
  }
  list.push_back(nullptr);
  return list;
}

void bury(pid_t process) {
  while (::waitpid(process, nullptr, 0) == -1 && errno == EINTR) {
  }
}

}  // namespace

int spawnProgram(const std::string& executable, const std::vector<std::string>& arguments,
                 const SpawnSettings& settings, pid_t& process) {
  std::array<int, 2> ends;
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
    return errno;
  }
  const FileDescriptor reader(ends[0]);
  FileDescriptor writer(ends[1]);
  std::vector<std::string> words = {executable};
  words.insert(words.end(), arguments.begin(), arguments.end());
  const auto argumentList = pointers(words);
  const auto environmentList = pointers(settings.environment);
  int code =
      spawn({.executable = executable.c_str(),
             .arguments = argumentList.data(),
             .environment = environmentList.data(),
             .standard = {settings.standardInput, settings.standardOutput, settings.standardError},
             .leadsGroup = settings.leadsGroup,
             .report = writer.get()},
            process);
  if (code != 0) {
    return code;
  }
  writer = FileDescriptor();
  code = reportedError(reader);
  if (code != 0) {
    bury(process);
  }
  return code;
}

std::vector<std::string> inheritableEnvironment() {
  std::vector<std::string> variables;
  for (char** variable = environ; *variable != nullptr; ++variable) {
    const std::string_view text(*variable);
    if (!text.starts_with("LISTEN_") && !text.starts_with("NOTIFY_SOCKET=") &&
        !text.starts_with("WATCHDOG_")) {
      variables.emplace_back(text);
    }
  }
  return variables;
}

}  // namespace velto
