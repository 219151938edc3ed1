#include "alerts/ActionProcess.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>
#include <utility>

#include "platform/foundation/FileDescriptor.h"
#include "platform/foundation/TimerDescriptor.h"
#include "platform/process/Spawn.h"

namespace velto {
namespace {

/// So much of the standard error is kept; what comes after is read and dropped.
constexpr std::size_t kMaximumErrorText = 16384;

ActionOutcome notStarted(const std::string& executable, int errorNumber) {
  return {ActionOutcome::Kind::kNotStarted, 0,
          "Cannot start " + executable + ": " + std::generic_category().message(errorNumber)};
}

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

/// A started program; at the latest when this object goes, it is killed and its end is taken note
/// of.
class Child {
 public:
  explicit Child(pid_t process) : process_(process) {}
  ~Child() {
    if (process_ != -1) {
      kill();
    }
  }
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;

  /// Ends the whole group.
  void kill() {
    ::kill(-process_, SIGKILL);
    wait();
  }

  ActionOutcome wait() {
    int status = 0;
    pid_t waited = -1;
    do {
      waited = ::waitpid(process_, &status, 0);
    } while (waited == -1 && errno == EINTR);
    process_ = -1;
    if (waited == -1) {
      return {ActionOutcome::Kind::kNotStarted, 0, "Its end was not seen."};
    }
    return WIFSIGNALED(status)
               ? ActionOutcome{ActionOutcome::Kind::kSignalled, WTERMSIG(status), {}}
               : ActionOutcome{ActionOutcome::Kind::kExited, WEXITSTATUS(status), {}};
  }

 private:
  pid_t process_;
};

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
struct Plumbing {
  Plumbing(std::string_view text, std::chrono::milliseconds timeLimit)
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

  bool isWhole() const {
    return input.isOpen() && output.isOpen() && limit.isOpen() && errorReader.isOpen();
  }

  const FileDescriptor input;
  const FileDescriptor output;
  const FileDescriptor limit;
  FileDescriptor errorReader;
  FileDescriptor errorWriter;
};

}  // namespace

ActionOutcome runAction(const std::string& executable, const std::vector<std::string>& arguments,
                        std::string_view input, std::chrono::milliseconds limit) {
  Plumbing plumbing(input, limit);
  if (!plumbing.isWhole()) {
    return notStarted(executable, errno);
  }
  pid_t process = -1;
  const int result = spawnProgram(
      executable, arguments,
      {.standardInput = plumbing.input.get(),
       .standardOutput = plumbing.output.get(),
       .standardError = plumbing.errorWriter.get(),
       .environment = {"PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin",
                       "LC_ALL=C.UTF-8"},
       .leadsGroup = true},
      process);
  if (result != 0) {
    return notStarted(executable, result);
  }
  Child child(process);
  plumbing.errorWriter = FileDescriptor();
  // The C library's header for this is not made for C++.
  const FileDescriptor ending(static_cast<int>(::syscall(SYS_pidfd_open, process, 0)));
  if (!ending.isOpen()) {
    return notStarted(executable, errno);
  }
  std::string text;
  const bool hasEnded =
      readUntilExit(plumbing.errorReader.get(), ending.get(), plumbing.limit.get(), text);
  if (!hasEnded) {
    child.kill();
    return {ActionOutcome::Kind::kTimedOut, 0, std::move(text)};
  }
  ActionOutcome outcome = child.wait();
  outcome.standardError = std::move(text);
  return outcome;
}

}  // namespace velto
