// SPDX-License-Identifier: Apache-2.0
#include "tools/frame/Pager.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <iostream>
#include <spawn.h>
#include <string_view>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/foundation/FileDescriptor.h"

extern char** environ;

namespace velto {
namespace {

/// A pager that is not there shows nothing, so `cat` takes its place.
constexpr const char* kScript =
    R"(command -v "${PAGER%% *}" >/dev/null 2>&1 || exec cat; eval "$PAGER")";

/// What stands in the environment already is the reader's own wish.
void setDefaults() {
  setenv("PAGER", "less", 0);
  // Ends when all fits on the screen, shows colours, cuts no lines, leaves the text there.
  setenv("LESS", "FRSXMK", 0);
  setenv("LESSCHARSET", "utf-8", 0);
  // No shell with root's rights, and no files written.
  if (geteuid() == 0) setenv("LESSSECURE", "1", 0);
}

pid_t startWithInput(int descriptor) {
  posix_spawn_file_actions_t actions;
  if (posix_spawn_file_actions_init(&actions) != 0) return -1;
  posix_spawn_file_actions_adddup2(&actions, descriptor, STDIN_FILENO);
  const std::array<const char*, 4> arguments = {"sh", "-c", kScript, nullptr};
  pid_t process = -1;
  const int failure = posix_spawn(&process, "/bin/sh", &actions, nullptr,
                                  const_cast<char* const*>(arguments.data()), environ);
  posix_spawn_file_actions_destroy(&actions);
  return failure == 0 ? process : -1;
}

}  // namespace

bool Pager::isWanted() {
  const char* pager = std::getenv("PAGER");
  return pager == nullptr || (*pager != '\0' && std::string_view(pager) != "cat");
}

Pager::Pager() {
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) return;
  const FileDescriptor input(ends[0]);
  const FileDescriptor output(ends[1]);
  std::cout.flush();
  setDefaults();
  process_ = startWithInput(input.get());
  if (process_ > 0) dup2(output.get(), STDOUT_FILENO);
}

Pager::~Pager() {
  if (process_ < 0) return;
  std::cout.flush();
  // An interrupt is for the pager, whose user looks for something; we wait for its end.
  std::signal(SIGINT, SIG_IGN);
  close(STDOUT_FILENO);
  while (waitpid(process_, nullptr, 0) < 0 && errno == EINTR) {
  }
}

}  // namespace velto
