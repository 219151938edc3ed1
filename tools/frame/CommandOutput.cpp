// SPDX-License-Identifier: Apache-2.0
#include "tools/frame/CommandOutput.h"

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <memory>
#include <spawn.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

#include "platform/foundation/FileDescriptor.h"
#include "tools/frame/Failure.h"
#include "tools/text/Message.h"

extern char** environ;

namespace velto {
namespace {

struct Child {
  pid_t process = -1;
  FileDescriptor output;
};

Child start(const std::vector<std::string>& command) {
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) {
    throw Failure{.what = std::system_category().message(errno)};
  }
  Child child{.output = FileDescriptor(ends[0])};
  const FileDescriptor input(ends[1]);
  std::vector<char*> arguments;
  for (const std::string& argument : command) {
    arguments.push_back(const_cast<char*>(argument.c_str()));
  }
  arguments.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  int failure = posix_spawn_file_actions_init(&actions);
  if (failure == 0) {
    posix_spawn_file_actions_adddup2(&actions, input.get(), STDOUT_FILENO);
    failure =
        posix_spawnp(&child.process, arguments[0], &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
  }
  if (failure != 0) {
    throw Failure{
        .what = say("cannot run {}: {}", command.front(), std::system_category().message(failure))};
  }
  return child;
}

int statusOf(pid_t process) {
  int status = 0;
  while (waitpid(process, &status, 0) < 0 && errno == EINTR) {
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

}  // namespace

int forEachLineOf(const std::vector<std::string>& command,
                  const std::function<void(const std::string& line)>& take) {
  Child child = start(command);
  const std::unique_ptr<FILE, int (*)(FILE*)> stream(fdopen(child.output.release(), "r"), fclose);
  char* buffer = nullptr;
  std::size_t capacity = 0;
  std::string line;
  for (ssize_t length = 0; (length = getline(&buffer, &capacity, stream.get())) > 0;) {
    line.assign(buffer, static_cast<std::size_t>(length));
    if (line.back() == '\n') line.pop_back();
    take(line);
  }
  std::free(buffer);
  return statusOf(child.process);
}

}  // namespace velto
