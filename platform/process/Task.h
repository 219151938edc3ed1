// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/foundation/FileDescriptor.h"
#include "platform/process/ChildProcess.h"

namespace velto {

/// A child process with a pipe to its standard input. Its standard output and standard error are
/// the parent's; it inherits no other descriptor, no ignored or blocked signal, no LISTEN_* and no
/// NOTIFY_SOCKET. States: new, launched (`launch`), exited (`waitUntilExit`). Dropping a launched
/// task closes the pipe and waits for the child, so that none is left behind. One thread at a time.
///
/// The operations throw std::system_error where they say so; nothing here is meant to let it pass
/// an interface of the system.
class Task {
 public:
  /// `executable` is an absolute path; `arguments` do not include the program's own name.
  Task(std::string executable, std::vector<std::string> arguments);
  ~Task();
  Task(const Task&) = delete;
  Task& operator=(const Task&) = delete;

  /// Starts the program. Throws when it cannot be started.
  void launch();
  /// Writes all bytes to the child's standard input, waiting as long as the child takes. Throws
  /// when the child has closed it, provided that the process ignores the broken-pipe signal.
  void write(std::string_view bytes);
  /// Ends the child's standard input.
  void closeInput();
  /// Ends the standard input if that has not happened, and waits for the exit. Nothing to do for a
  /// task that was never launched.
  void waitUntilExit();

  /// The exit status, 128 plus the signal's number for a child that a signal ended, 255 for one
  /// whose end the kernel did not keep, and 0 as long as there is none of these.
  int terminationStatus() const { return terminationStatus_; }

 private:
  const std::string executable_;
  const std::vector<std::string> arguments_;
  std::optional<ChildProcess> process_;  ///< while it is launched
  FileDescriptor input_;
  int terminationStatus_ = 0;
};

}  // namespace velto
