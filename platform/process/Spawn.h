// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

namespace velto {

/// How a child is started.
struct SpawnSettings {
  /// What its three standard descriptors are; -1 is this process's own.
  int standardInput = -1;
  int standardOutput = -1;
  int standardError = -1;
  /// NAME=value each.
  std::vector<std::string> environment;
  /// Whether it leads a process group of its own.
  bool leadsGroup = false;
};

/// Starts the program at a path. The child inherits no other descriptor and no ignored or blocked
/// signal, whatever this process does with them, and may open as many files as this process might
/// when it began: programs that use select() break where they may open more than 1,024.
/// `arguments` do not include the program's own name. Returns 0 with the child's id in `process`,
/// or an errno. Takes no longer however much memory this process uses. Any thread.
int spawnProgram(const std::string& executable, const std::vector<std::string>& arguments,
                 const SpawnSettings& settings, pid_t& process);

/// This process's environment less what the service manager told this process alone.
std::vector<std::string> inheritableEnvironment();

}  // namespace velto
