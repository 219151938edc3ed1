// SPDX-License-Identifier: Apache-2.0
#include "platform/process/Task.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <iterator>
#include <memory>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

#include "tests/foundation/ScopedEnvironment.h"
#include "tests/support/TemporaryDirectory.h"

namespace velto {
namespace {

constexpr std::chrono::minutes kLong{2};

class TaskTest : public testing::Test {
 protected:
  TaskTest() { std::signal(SIGPIPE, SIG_IGN); }

  /// What the shell script, run as a task, wrote to the file "$0".
  std::string outputOfScript(const std::string& script) const {
    const auto file = directory_.path() / "output";
    Task task("/bin/sh", {"-c", script, file.string()}, kLong);
    task.launch();
    task.waitUntilExit();
    EXPECT_EQ(task.terminationStatus(), 0);
    return readFile(file);
  }

  static int statusOfScript(const std::string& script) {
    Task task("/bin/sh", {"-c", script}, kLong);
    task.launch();
    task.waitUntilExit();
    return task.terminationStatus();
  }

  TemporaryDirectory directory_;
};

std::int64_t launchError(const std::string& executable) {
  Task task(executable, {}, kLong);
  const auto error = task.launch();
  EXPECT_EQ(task.terminationStatus(), 0);
  if (!error) {
    return 0;
  }
  EXPECT_EQ(error->domain, kPOSIXErrorDomain);
  EXPECT_NE(error->localizedDescription().find(executable), std::string::npos);
  return error->code;
}

Error errorOfEndlessWriting(Task& task) {
  const std::string chunk(65536, 'x');
  for (;;) {
    if (auto error = task.write(chunk)) {
      return *error;
    }
  }
}

std::ptrdiff_t openDescriptors() {
  const std::filesystem::directory_iterator entries("/proc/self/fd");
  return std::distance(begin(entries), end(entries));
}

TEST_F(TaskTest, GivesTheExitStatus) {
  EXPECT_EQ(statusOfScript("exit 0"), 0);
  EXPECT_EQ(statusOfScript("exit 75"), 75);
}

TEST_F(TaskTest, GivesTheSignalThatEndedTheChild) {
  EXPECT_EQ(statusOfScript("kill -KILL $$"), 128 + SIGKILL);
  EXPECT_EQ(statusOfScript("kill -TERM $$"), 128 + SIGTERM);
}

TEST_F(TaskTest, PassesTheArgumentsAsTheyAre) {
  const auto file = directory_.path() / "out put";
  Task task("/bin/sh", {"-c", "printf '%s|' \"$@\" > \"$0\"", file.string(), "-t", "", "a b", "$x"},
            kLong);
  task.launch();
  task.waitUntilExit();
  EXPECT_EQ(readFile(file), "-t||a b|$x|");
}

TEST_F(TaskTest, HasNoStatusBeforeItsEnd) {
  Task task("/bin/sh", {"-c", "cat; exit 5"}, kLong);
  task.waitUntilExit();
  EXPECT_EQ(task.terminationStatus(), 0);
  task.launch();
  EXPECT_EQ(task.terminationStatus(), 0);
  task.waitUntilExit();
  EXPECT_EQ(task.terminationStatus(), 5);
  task.waitUntilExit();
  EXPECT_EQ(task.terminationStatus(), 5);
}

TEST_F(TaskTest, AProgramThatCannotBeStartedIsAnError) {
  EXPECT_EQ(launchError((directory_.path() / "missing").string()), ENOENT);
  EXPECT_EQ(launchError(directory_.write("plain", "#!/bin/sh\n").string()), EACCES);
  EXPECT_EQ(launchError(directory_.path().string()), EACCES);
}

TEST_F(TaskTest, CannotBeLaunchedTwiceAtOnce) {
  Task task("/bin/cat", {}, kLong);
  task.launch();
  EXPECT_EQ(task.launch()->code, EALREADY);
}

TEST_F(TaskTest, WritesAllBytesToTheChild) {
  const auto file = directory_.path() / "copy";
  std::string bytes(std::size_t{3} << 20, '\0');
  for (std::size_t index = 0; index < bytes.size(); ++index) {
    bytes[index] = static_cast<char>(index * 31 % 251);
  }
  Task task("/bin/sh", {"-c", "cat > \"$0\"", file.string()}, kLong);
  task.launch();
  task.write("first ");
  task.write("");
  task.write(bytes);
  task.waitUntilExit();
  EXPECT_EQ(task.terminationStatus(), 0);
  EXPECT_TRUE(readFile(file) == "first " + bytes);
}

TEST_F(TaskTest, AnInputThatTheChildHasClosedIsAnError) {
  Task task("/bin/sh", {"-c", "exec 0<&-; exit 3"}, kLong);
  task.launch();
  EXPECT_EQ(errorOfEndlessWriting(task).code, EPIPE);
  task.waitUntilExit();
  EXPECT_EQ(task.terminationStatus(), 3);
}

TEST_F(TaskTest, WithoutAnInputWritingIsAnError) {
  Task task("/bin/cat", {}, kLong);
  EXPECT_EQ(task.write("early")->code, EBADF);
  task.launch();
  task.closeInput();
  EXPECT_EQ(task.write("late")->code, EBADF);
}

TEST_F(TaskTest, WaitsForTheChildWhenDropped) {
  const auto file = directory_.path() / "late";
  {
    Task task("/bin/sh", {"-c", "cat > \"$0\"; echo end >> \"$0\"", file.string()}, kLong);
    task.launch();
    task.write("text ");
  }
  EXPECT_EQ(readFile(file), "text end\n");
}

TEST_F(TaskTest, AnExitThatNobodySawIsNoSuccess) {
  const auto former = std::signal(SIGCHLD, SIG_IGN);
  const int status = statusOfScript("exit 0");
  std::signal(SIGCHLD, former);
  EXPECT_EQ(status, 255);
}

TEST_F(TaskTest, LeavesNoDescriptorBehind) {
  const auto before = openDescriptors();
  EXPECT_EQ(statusOfScript("exit 0"), 0);
  EXPECT_EQ(launchError("/nonexistent/program"), ENOENT);
  EXPECT_EQ(openDescriptors(), before);
}

TEST_F(TaskTest, PassesNoDescriptorOn) {
  const int inheritable = ::open("/dev/null", O_RDONLY);
  ASSERT_GT(inheritable, 2);
  const std::string descriptor = "/proc/self/fd/" + std::to_string(inheritable);
  EXPECT_EQ(statusOfScript("test ! -e " + descriptor), 0);
  EXPECT_EQ(statusOfScript("test -p /proc/self/fd/0"), 0);
  ::close(inheritable);
}

TEST_F(TaskTest, StartsTheChildWithDefaultSignals) {
  const auto former = std::signal(SIGINT, SIG_IGN);
  sigset_t blocked;
  sigset_t formerMask;
  sigemptyset(&blocked);
  sigaddset(&blocked, SIGTERM);
  sigaddset(&blocked, SIGPIPE);
  pthread_sigmask(SIG_BLOCK, &blocked, &formerMask);
  const std::string blockedSignals =
      outputOfScript("sed -n 's/^SigBlk:.//p' /proc/self/status > \"$0\"");
  const std::string ignoredSignals =
      outputOfScript("sed -n 's/^SigIgn:.//p' /proc/self/status > \"$0\"");
  pthread_sigmask(SIG_SETMASK, &formerMask, nullptr);
  std::signal(SIGINT, former);
  // The signals 32 and 33 are the C library's own affair.
  EXPECT_EQ(std::stoull(blockedSignals, nullptr, 16) & 0x7fffffffU, 0U);
  EXPECT_EQ(std::stoull(ignoredSignals, nullptr, 16) & 0x7fffffffU, 0U);
}

TEST_F(TaskTest, KeepsTheServiceManagersVariablesToItself) {
  ScopedEnvironment environment;
  environment.set("LISTEN_FDS", "1");
  environment.set("LISTEN_PID", "1");
  environment.set("LISTEN_FDNAMES", "varlink");
  environment.set("NOTIFY_SOCKET", "/run/notify");
  environment.set("WATCHDOG_PID", "1");
  environment.set("WATCHDOG_USEC", "1000000");
  environment.set("VELTO_TASK_TEST", "kept");
  EXPECT_EQ(outputOfScript("env | grep -E '^(LISTEN|NOTIFY|WATCHDOG|VELTO_TASK)' > \"$0\""),
            "VELTO_TASK_TEST=kept\n");
}

/// A program that ends, and leaves a child that has its standard input and never reads it. The
/// child's id goes to the file "$0".
constexpr const char* kLeavesAChild = "exec 3<&0; sleep 600 <&3 3<&- & echo $! > \"$0\"; exit 3";

TEST_F(TaskTest, AnEndedChildIsNotWrittenToWhoeverHasItsInput) {
  const auto file = directory_.path() / "left";
  Task task("/bin/sh", {"-c", kLeavesAChild, file.string()}, kLong);
  task.launch();
  EXPECT_EQ(errorOfEndlessWriting(task).code, EPIPE);
  task.waitUntilExit();
  EXPECT_EQ(task.terminationStatus(), 3);
  EXPECT_FALSE(task.hasTimedOut());
  EXPECT_EQ(::kill(std::stoi(readFile(file)), SIGKILL), 0) << "it is somebody's work";
}

TEST_F(TaskTest, AChildThatHangsIsEndedWithItsGroup) {
  const auto file = directory_.path() / "left";
  Task reader("/bin/sh", {"-c", "sleep 600 & wait"}, std::chrono::milliseconds(1));
  reader.launch();
  reader.waitUntilExit();
  EXPECT_TRUE(reader.hasTimedOut());
  EXPECT_EQ(reader.terminationStatus(), 128 + SIGKILL);
  Task writer("/bin/sleep", {"600"}, std::chrono::milliseconds(1));
  writer.launch();
  EXPECT_EQ(errorOfEndlessWriting(writer).code, EPIPE);
  writer.waitUntilExit();
  EXPECT_TRUE(writer.hasTimedOut());
  EXPECT_EQ(writer.terminationStatus(), 128 + SIGKILL);
}

TEST_F(TaskTest, KeepsTheBeginningOfWhatTheChildWrites) {
  Task task("/bin/sh", {"-c", "echo out; echo error >&2; head -c 1000000 /dev/zero; cat"}, kLong);
  EXPECT_EQ(task.output(), nullptr);
  task.launch();
  task.write(std::string(300'000, 'x'));
  task.waitUntilExit();
  EXPECT_EQ(task.terminationStatus(), 0);
  EXPECT_EQ(task.output()->text().substr(0, 11), std::string("out\nerror\n\0", 11));
  EXPECT_EQ(task.output()->text().size(), 65536U);
  EXPECT_EQ(task.output()->dropped(), 1'300'010U - 65536U);
}

TEST_F(TaskTest, AChildMayOpenAsManyFilesAsTheParentAtItsStart) {
  const std::string atStart = outputOfScript("ulimit -S -n > \"$0\"");
  rlimit limit{};
  ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &limit), 0);
  const rlim_t former = limit.rlim_cur;
  EXPECT_EQ(atStart, std::to_string(former) + "\n");
  limit.rlim_cur = former == limit.rlim_max ? former - 1 : limit.rlim_max;
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &limit), 0);
  const std::string changed = outputOfScript("ulimit -S -n > \"$0\"");
  const std::string hard = outputOfScript("ulimit -H -n > \"$0\"");
  limit.rlim_cur = former;
  ::setrlimit(RLIMIT_NOFILE, &limit);
  EXPECT_EQ(changed, atStart);
  EXPECT_EQ(hard, std::to_string(limit.rlim_max) + "\n");
}

/// A child that held another's pipe would keep that one's input from ending: the first to be waited
/// for would never return.
TEST_F(TaskTest, ChildrenStartedTogetherShareNothing) {
  constexpr int kThreads = 4;
  constexpr int kTasks = 8;
  std::vector<std::vector<int>> statuses(kThreads);
  std::vector<std::thread> threads;
  for (auto& own : statuses) {
    threads.emplace_back([&own] {
      std::vector<std::unique_ptr<Task>> tasks;
      for (int index = 0; index < kTasks; ++index) {
        tasks.push_back(std::make_unique<Task>(
            "/bin/sh", std::vector<std::string>{"-c", "cat > /dev/null; exit 9"}, kLong));
        tasks.back()->launch();
      }
      for (const auto& task : tasks) {
        task->write("line\n");
        task->waitUntilExit();
        own.push_back(task->terminationStatus());
      }
    });
  }
  for (std::thread& thread : threads)
    thread.join();
  for (const auto& own : statuses) {
    EXPECT_EQ(own, std::vector<int>(kTasks, 9));
  }
}

}  // namespace
}  // namespace velto
