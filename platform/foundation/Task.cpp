#include "platform/foundation/Task.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>
#include <utility>

#include "platform/foundation/FileDescriptor.h"

namespace velto {
namespace {

constexpr int kUnknownStatus = 255;

void check(int code, const std::string& what) {
  if (code != 0) {
    throw std::system_error(code, std::generic_category(), what);
  }
}

/// What a child does between its birth and its program: takes the pipe as its standard input and
/// closes everything beyond standard error, also what some library opened without O_CLOEXEC.
class FileActions {
 public:
  explicit FileActions(int input) {
    check(posix_spawn_file_actions_init(&actions_), "posix_spawn_file_actions_init");
    try {
      check(posix_spawn_file_actions_adddup2(&actions_, input, STDIN_FILENO), "adddup2");
      check(posix_spawn_file_actions_addclosefrom_np(&actions_, STDERR_FILENO + 1), "addclosefrom");
    } catch (...) {
      posix_spawn_file_actions_destroy(&actions_);
      throw;
    }
  }
  ~FileActions() { posix_spawn_file_actions_destroy(&actions_); }
  FileActions(const FileActions&) = delete;
  FileActions& operator=(const FileActions&) = delete;

  const posix_spawn_file_actions_t* get() const { return &actions_; }

 private:
  posix_spawn_file_actions_t actions_;
};

/// Every signal at its default and none blocked, whatever this process does with them.
class SpawnAttributes {
 public:
  SpawnAttributes() {
    check(posix_spawnattr_init(&attributes_), "posix_spawnattr_init");
    sigset_t all;
    sigset_t none;
    sigfillset(&all);
    sigemptyset(&none);
    // With a valid attribute object and valid flags these cannot fail.
    posix_spawnattr_setsigdefault(&attributes_, &all);
    posix_spawnattr_setsigmask(&attributes_, &none);
    posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
  }
  ~SpawnAttributes() { posix_spawnattr_destroy(&attributes_); }
  SpawnAttributes(const SpawnAttributes&) = delete;
  SpawnAttributes& operator=(const SpawnAttributes&) = delete;

  const posix_spawnattr_t* get() const { return &attributes_; }

 private:
  posix_spawnattr_t attributes_;
};

/// The environment less what the service manager told this process alone.
std::vector<char*> childEnvironment() {
  std::vector<char*> variables;
  for (char** variable = environ; *variable != nullptr; ++variable) {
    const std::string_view text(*variable);
    if (!text.starts_with("LISTEN_") && !text.starts_with("NOTIFY_SOCKET=")) {
      variables.push_back(*variable);
    }
  }
  variables.push_back(nullptr);
  return variables;
}

}  // namespace

Task::Task(std::string executable, std::vector<std::string> arguments)
    : executable_(std::move(executable)), arguments_(std::move(arguments)) {}

Task::~Task() {
  waitUntilExit();
}

void Task::launch() {
  if (process_ != -1) {
    check(EALREADY, executable_);
  }
  std::array<int, 2> ends;
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
    check(errno, "pipe");
  }
  const FileDescriptor childsEnd(ends[0]);
  FileDescriptor ourEnd(ends[1]);
  const FileActions actions(childsEnd.get());
  const SpawnAttributes attributes;
  std::vector<char*> words{const_cast<char*>(executable_.c_str())};
  for (const std::string& argument : arguments_) {
    words.push_back(const_cast<char*>(argument.c_str()));
  }
  words.push_back(nullptr);
  pid_t process = -1;
  check(posix_spawn(&process, executable_.c_str(), actions.get(), attributes.get(), words.data(),
                    childEnvironment().data()),
        "Cannot start " + executable_);
  process_ = process;
  input_ = ourEnd.release();
  terminationStatus_ = 0;
}

void Task::write(std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = ::write(input_, bytes.data(), bytes.size());
    if (count >= 0) {
      bytes.remove_prefix(static_cast<std::size_t>(count));
    } else if (errno != EINTR) {
      check(errno, "Cannot write to " + executable_);
    }
  }
}

void Task::closeInput() {
  const FileDescriptor closed(std::exchange(input_, -1));
}

void Task::waitUntilExit() {
  closeInput();
  if (process_ == -1) {
    return;
  }
  int status = 0;
  pid_t waited = -1;
  do {
    waited = ::waitpid(process_, &status, 0);
  } while (waited == -1 && errno == EINTR);
  if (waited == -1) {
    // Only where the process ignores SIGCHLD. An exit that nobody saw must not pass for success.
    terminationStatus_ = kUnknownStatus;
  } else {
    terminationStatus_ = WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
  }
  process_ = -1;
}

}  // namespace velto
