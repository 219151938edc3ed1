// SPDX-License-Identifier: Apache-2.0
#include "platform/process/ChildProcess.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include <gtest/gtest.h>

namespace velto {
namespace {

using Kind = ProcessEnd::Kind;

struct Pipe {
  Pipe() {
    std::array<int, 2> ends;
    EXPECT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
    reader = FileDescriptor(ends[0]);
    writer = FileDescriptor(ends[1]);
  }
  /// Waits until no process has the writer's end any more.
  bool hasEnded() {
    writer = FileDescriptor();
    char byte = 0;
    return ::read(reader.get(), &byte, 1) == 0;
  }

  FileDescriptor reader;
  FileDescriptor writer;
};

std::optional<ChildProcess> start(const std::string& script, SpawnSettings settings = {}) {
  std::optional<Error> error;
  settings.environment = inheritableEnvironment();
  auto child = ChildProcess::start("/bin/sh", {"-c", script}, settings, &error);
  EXPECT_TRUE(child) << error->localizedDescription();
  return child;
}

void expectNoChild() {
  EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);
  EXPECT_EQ(errno, ECHILD);
}

TEST(ChildProcess, TellsHowItEnded) {
  const ProcessEnd exited = start("exit 7")->wait();
  EXPECT_EQ(exited.kind, Kind::kExited);
  EXPECT_EQ(exited.number, 7);
  const ProcessEnd signalled = start("kill -TERM $$")->wait();
  EXPECT_EQ(signalled.kind, Kind::kSignalled);
  EXPECT_EQ(signalled.number, SIGTERM);
  expectNoChild();
}

TEST(ChildProcess, TellsTheSameAgain) {
  auto child = start("exit 7");
  child->wait();
  child->kill();
  EXPECT_EQ(child->wait().number, 7);
  EXPECT_EQ(child->wait().kind, Kind::kExited);
}

TEST(ChildProcess, AnEndThatIsNotKeptIsUnseen) {
  const auto former = std::signal(SIGCHLD, SIG_IGN);
  const ProcessEnd end = start("exit 0")->wait();
  std::signal(SIGCHLD, former);
  EXPECT_EQ(end.kind, Kind::kUnseen);
}

TEST(ChildProcess, WhatCannotBeStartedIsAnErrorThatNamesIt) {
  std::optional<Error> error;
  EXPECT_FALSE(ChildProcess::start("/nonexistent/program", {}, {}, &error));
  EXPECT_EQ(error, makeError(kPOSIXErrorDomain, ENOENT,
                             "Cannot start /nonexistent/program: No such file or directory"));
  EXPECT_FALSE(ChildProcess::start("/nonexistent/program", {}, {}, nullptr));
  expectNoChild();
}

TEST(ChildProcess, IsKilledWhenDropped) {
  Pipe pipe;
  start("exec sleep 600", {.standardOutput = pipe.writer.get(), .environment = {}});
  expectNoChild();
  EXPECT_TRUE(pipe.hasEnded());
}

TEST(ChildProcess, IsKilledWithItsGroup) {
  Pipe pipe;
  auto child = start("sleep 600 & sleep 600",
                     {.standardOutput = pipe.writer.get(), .environment = {}, .leadsGroup = true});
  child->kill();
  EXPECT_EQ(child->wait().kind, Kind::kSignalled);
  EXPECT_EQ(child->wait().number, SIGKILL);
  expectNoChild();
  EXPECT_TRUE(pipe.hasEnded()) << "what it started has ended too";
}

TEST(ChildProcess, MovesWithoutEnding) {
  auto first = start("exec sleep 600");
  ChildProcess second(std::move(*first));
  first.reset();
  second.kill();
  EXPECT_EQ(second.wait().number, SIGKILL);
  expectNoChild();
}

TEST(ChildProcess, ItsDescriptorBecomesReadableAtItsEnd) {
  Pipe pipe;
  auto child = start("read line", {.standardInput = pipe.reader.get(), .environment = {}});
  const FileDescriptor end = child->descriptorOfEnd();
  pollfd wait{end.get(), POLLIN, 0};
  EXPECT_EQ(::poll(&wait, 1, 0), 0);
  pipe.writer = FileDescriptor();
  EXPECT_EQ(::poll(&wait, 1, -1), 1);
  EXPECT_EQ(child->wait().kind, Kind::kExited);
}

std::atomic<int> interruptions = 0;

TEST(ChildProcess, IsWaitedForThroughInterruptions) {
  struct sigaction action {};
  action.sa_handler = [](int) { ++interruptions; };  // without SA_RESTART
  struct sigaction former {};
  ASSERT_EQ(::sigaction(SIGUSR1, &action, &former), 0);
  Pipe pipe;
  auto child = start("read line; exit 4", {.standardInput = pipe.reader.get(), .environment = {}});
  std::thread other([&pipe, waiter = ::pthread_self()] {
    while (interruptions < 100) {
      ::pthread_kill(waiter, SIGUSR1);
      std::this_thread::yield();
    }
    pipe.writer = FileDescriptor();
  });
  const ProcessEnd end = child->wait();
  other.join();
  ::sigaction(SIGUSR1, &former, nullptr);
  EXPECT_EQ(end.kind, Kind::kExited);
  EXPECT_EQ(end.number, 4);
}

}  // namespace
}  // namespace velto
