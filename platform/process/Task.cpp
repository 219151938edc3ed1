#include "platform/process/Task.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>
#include <utility>

#include "platform/foundation/FileDescriptor.h"
#include "platform/process/Spawn.h"

namespace velto {
namespace {

constexpr int kUnknownStatus = 255;

void check(int code, const std::string& what) {
  if (code != 0) {
    throw std::system_error(code, std::generic_category(), what);
  }
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
  pid_t process = -1;
  check(spawnProgram(executable_, arguments_,
                     {.standardInput = childsEnd.get(), .environment = inheritableEnvironment()},
                     process),
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
