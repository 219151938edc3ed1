// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

#include "platform/foundation/Error.h"
#include "platform/foundation/FileDescriptor.h"
#include "platform/process/Spawn.h"

namespace velto {

/// How a program ended.
struct ProcessEnd {
  enum class Kind {
    kExited,     ///< with the status `number`
    kSignalled,  ///< by the signal `number`
    kUnseen,     ///< unknown: the kernel keeps no end for a process that ignores SIGCHLD
  };

  Kind kind = Kind::kUnseen;
  int number = 0;
};

/// A program that this process has started. Its end has to be taken note of, or it stays as a
/// zombie: `wait` does so, and so does `kill`. Dropping the object before kills the program. A
/// value that moves; one thread at a time.
class ChildProcess {
 public:
  /// Starts the program at a path, as spawnProgram does. Nothing, with an error that names the
  /// path, when it cannot be started.
  static std::optional<ChildProcess> start(const std::string& executable,
                                           const std::vector<std::string>& arguments,
                                           const SpawnSettings& settings, ErrorSlot error);
  ~ChildProcess();
  ChildProcess(ChildProcess&& other) noexcept;
  ChildProcess& operator=(ChildProcess&&) = delete;

  /// Returns a descriptor that becomes readable when the program ends, to be waited for along with
  /// others. Not open, with errno set, when there is none to be had.
  FileDescriptor descriptorOfEnd() const;
  /// Waits for the end, however often a signal interrupts that. Returns the same when called again.
  ProcessEnd wait();
  /// Kills the program, with all of its process group if it leads one, and waits for its end.
  /// Nothing to do after `wait`.
  void kill();

 private:
  ChildProcess(pid_t process, bool leadsGroup) : process_(process), leadsGroup_(leadsGroup) {}

  pid_t process_;  ///< -1 once its end has been taken note of
  const bool leadsGroup_;
  ProcessEnd end_;
};

}  // namespace velto
