// SPDX-License-Identifier: Apache-2.0
#include "alerts/ActionProcess.h"

#include <cerrno>
#include <csignal>
#include <fstream>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/TemporaryDirectory.h"

namespace velto {
namespace {

using Kind = ActionOutcome::Kind;

constexpr auto kLong = std::chrono::minutes(2);
constexpr auto kShort = std::chrono::milliseconds(200);

class ActionProcessTest : public testing::Test {
 protected:
  ActionOutcome run(const std::string& script, std::chrono::milliseconds limit = kLong,
                    std::string_view input = "input",
                    const std::vector<std::string>& arguments = {}) {
    const auto path = directory_.write("action", "#!/bin/sh\n" + script + "\n");
    EXPECT_EQ(chmod(path.c_str(), 0755), 0);
    std::optional<Error> error;
    const auto outcome = runAction(path, arguments, input, limit, &error);
    EXPECT_TRUE(outcome) << error->localizedDescription();
    return outcome.value_or(ActionOutcome());
  }
  /// The error with which the program at the path is not started.
  static Error refusal(const std::string& path) {
    std::optional<Error> error;
    EXPECT_FALSE(runAction(path, {}, "", kLong, &error));
    return error.value_or(Error());
  }
  std::string written(const char* name) { return readFile(directory_.path() / name); }

  TemporaryDirectory directory_;
};

/// Whether the process is more than a zombie, which may be somebody else's to bury.
bool runs(pid_t process) {
  std::ifstream stat("/proc/" + std::to_string(process) + "/stat");
  std::string text;
  std::getline(stat, text);
  return !text.empty() && text.find(") Z ") == std::string::npos &&
         text.find(") X ") == std::string::npos;
}

TEST_F(ActionProcessTest, GivesTheStatusAndTheStandardError) {
  const auto outcome = run("echo out; echo why >&2; exit 3");
  EXPECT_EQ(outcome.kind, Kind::kExited);
  EXPECT_EQ(outcome.status, 3);
  EXPECT_EQ(outcome.standardError, "why\n");
  EXPECT_EQ(run("true").status, 0);
}

TEST_F(ActionProcessTest, PassesArgumentsAndInput) {
  const std::string input(3'000'000, 'x');
  const auto outcome = run("printf '%s|' \"$@\" >&2; wc -c >&2", kLong, input, {"run", "a b", ""});
  EXPECT_EQ(outcome.standardError, "run|a b||3000000\n");
}

TEST_F(ActionProcessTest, InputThatNobodyReadsIsNoFailure) {
  EXPECT_EQ(run("exit 0", kLong, std::string(3'000'000, 'x')).kind, Kind::kExited);
}

TEST_F(ActionProcessTest, TheEnvironmentIsClean) {
  setenv("VELTO_TEST_SECRET", "x", 1);
  const auto outcome = run("env | grep -v ^PWD= | grep -v ^_= | grep -v ^SHLVL= | sort >&2");
  unsetenv("VELTO_TEST_SECRET");
  EXPECT_EQ(outcome.standardError,
            "LC_ALL=C.UTF-8\nPATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin\n");
}

TEST_F(ActionProcessTest, InheritsNoDescriptorAndNoSignal) {
  const int leaky = dup(STDERR_FILENO);
  const auto before = signal(SIGTERM, SIG_IGN);
  const auto descriptors = run("exec ls /proc/self/fd >&2");
  const auto signals = run("exec sed -n 's/^SigIgn:.*\\(....\\)$/\\1/p' /proc/self/status >&2");
  signal(SIGTERM, before);
  close(leaky);
  EXPECT_EQ(descriptors.standardError, "0\n1\n2\n3\n") << "the last one is that of ls";
  EXPECT_EQ(signals.standardError, "0000\n");
}

TEST_F(ActionProcessTest, ASignalIsNoStatus) {
  const auto outcome = run("kill -9 $$");
  EXPECT_EQ(outcome.kind, Kind::kSignalled);
  EXPECT_EQ(outcome.status, SIGKILL);
}

TEST_F(ActionProcessTest, WhatTakesTooLongIsEndedWithAllThatItStarted) {
  const std::string folder = directory_.path().string();
  const std::string script = "sleep 600 & echo $! > " + folder + "/child; echo $$ > " + folder +
                             "/self; echo begun >&2; wait";
  ActionOutcome outcome;
  // However slow the machine is, in the end the shell has the time to begin.
  for (auto limit = kShort; outcome.standardError.empty(); limit *= 2) {
    outcome = run(script, limit);
    EXPECT_EQ(outcome.kind, Kind::kTimedOut);
  }
  const pid_t self = std::stoi(written("self"));
  const pid_t child = std::stoi(written("child"));
  EXPECT_EQ(kill(self, 0), -1) << "not even a zombie is left";
  while (runs(child)) {
    std::this_thread::yield();  // it has been killed, and ends as soon as it comes to it
  }
}

TEST_F(ActionProcessTest, WhatItLeavesRunningHoldsUpNobody) {
  const auto outcome = run("sleep 600 & echo $! >&2");
  EXPECT_EQ(outcome.kind, Kind::kExited);
  EXPECT_EQ(kill(std::stoi(outcome.standardError), SIGKILL), 0);
}

TEST_F(ActionProcessTest, EndlessErrorTextIsCutAndEnded) {
  const auto endless = run("while :; do echo xxxxxxxxxxxxxxxxxxxxxxxxxxxxxxx >&2; done", kShort);
  EXPECT_EQ(endless.kind, Kind::kTimedOut);
  EXPECT_LE(endless.standardError.size(), 65536U);
  const auto outcome = run("head -c 1000000 /dev/zero >&2");
  EXPECT_EQ(outcome.standardError.size(), 65536U);
  EXPECT_EQ(outcome.droppedBytes, 1000000U - 65536U);
  EXPECT_EQ(run("head -c 65536 /dev/zero >&2").droppedBytes, 0U);
}

TEST_F(ActionProcessTest, WhatItLeavesWritingHoldsUpNobody) {
  const auto file = (directory_.path() / "writer").string();
  const auto outcome = run("yes >&2 & echo $! > " + file);
  EXPECT_EQ(outcome.kind, Kind::kExited);
  // It may have ended by itself, when the pipe closed.
  kill(std::stoi(written("writer")), SIGKILL);
}

TEST_F(ActionProcessTest, WhatCannotBeStartedSaysWhy) {
  const std::string missing = directory_.path() / "none";
  EXPECT_EQ(refusal(missing), makeError(kPOSIXErrorDomain, ENOENT,
                                        "Cannot start " + missing + ": No such file or directory"));
  const std::string plain = directory_.write("plain", "#!/bin/sh\n");
  EXPECT_EQ(refusal(plain),
            makeError(kPOSIXErrorDomain, EACCES, "Cannot start " + plain + ": Permission denied"));
}

TEST_F(ActionProcessTest, AnEndThatNobodySawIsAnError) {
  const auto former = signal(SIGCHLD, SIG_IGN);
  const Error error = refusal("/bin/true");
  signal(SIGCHLD, former);
  // Either it had ended before it could be watched, or before it could be waited for.
  EXPECT_THAT(error.localizedDescription(),
              testing::AnyOf("Its end was not seen.", testing::HasSubstr("No such process")));
}

TEST_F(ActionProcessTest, LeavesNoDescriptorAndNoZombie) {
  const auto descriptors = [] {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
  };
  const auto before = descriptors();
  for (int time = 0; time < 20; ++time) {
    run("exit 1");
    run("sleep 600", std::chrono::milliseconds(1));
  }
  EXPECT_EQ(descriptors(), before);
  EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "no child is left";
}

}  // namespace
}  // namespace velto
