// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/foundation/Error.h"
#include "platform/foundation/FileDescriptor.h"
#include "platform/process/WatchedProcess.h"

namespace velto {

/// A child process with a pipe to its standard input. The beginning of what it writes to its
/// standard output and standard error is kept; it leads a process group, and inherits no descriptor
/// of the parent, no ignored or blocked signal, no LISTEN_*, NOTIFY_SOCKET or WATCHDOG_*. States:
/// new, launched (`launch`), exited (`waitUntilExit`). Dropping a launched task closes the pipe and
/// waits for the child, so that none is left behind. When the child's time is over its group is
/// killed. Nothing ever waits for what the child has started. One thread at a time.
class Task {
 public:
  /// `executable` is an absolute path; `arguments` do not include the program's own name.
  Task(std::string executable, std::vector<std::string> arguments,
       std::chrono::milliseconds timeLimit);
  ~Task();
  Task(const Task&) = delete;
  Task& operator=(const Task&) = delete;

  /// Starts the program. An error when it cannot be started.
  std::optional<Error> launch();
  /// Writes all bytes to the child's standard input, waiting as long as the child takes. An error
  /// when the child has closed it, provided that the process ignores the broken-pipe signal, and
  /// when the child has ended, whoever else has its standard input.
  std::optional<Error> write(std::string_view bytes);
  /// Ends the child's standard input.
  void closeInput();
  /// Ends the standard input if that has not happened, and waits for the exit. Nothing to do for a
  /// task that was never launched.
  void waitUntilExit();

  /// The exit status, 128 plus the signal's number for a child that a signal ended, 255 for one
  /// whose end the kernel did not keep, and 0 as long as there is none of these.
  int terminationStatus() const { return terminationStatus_; }
  /// Whether its time was over and its group was killed.
  bool hasTimedOut() const { return process_ && process_->hasTimedOut(); }
  /// What the last launch has written to its standard output and standard error, once it has
  /// exited; null before the first one.
  const KeptOutput* output() const { return process_ ? &process_->output() : nullptr; }

 private:
  const std::string executable_;
  const std::vector<std::string> arguments_;
  const std::chrono::milliseconds timeLimit_;
  std::optional<WatchedProcess> process_;
  bool isRunning_ = false;
  FileDescriptor input_;
  int terminationStatus_ = 0;
};

}  // namespace velto
