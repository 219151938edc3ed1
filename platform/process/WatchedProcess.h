// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "platform/foundation/Error.h"
#include "platform/foundation/FileDescriptor.h"
#include "platform/process/ChildProcess.h"
#include "platform/process/KeptOutput.h"

namespace velto {

/// A program that leads a process group of its own, with a limit to its time. Whoever waits for it
/// waits for its own end and never for that of what it has started, and takes in meanwhile what it
/// writes, so that it is not held up. Dropping the object before the end kills the group. A value
/// that moves; one thread at a time.
class WatchedProcess {
 public:
  /// Starts the program. Its standard output and standard error are kept, in the order in which
  /// they come, unless the settings say what they are. The time begins now. Nothing, with an error
  /// that names the path, when it cannot be started.
  static std::optional<WatchedProcess> start(const std::string& executable,
                                             const std::vector<std::string>& arguments,
                                             SpawnSettings settings,
                                             std::chrono::milliseconds timeLimit, ErrorSlot error);

  /// Waits until `descriptor` can be written to, or would fail at once. False when the program has
  /// ended before, or its time is over.
  bool waitUntilWritable(int descriptor);
  /// Waits for the end. When the time is over before, the group is killed. Returns the same when
  /// called again.
  ProcessEnd waitUntilExit();

  /// Whether the group had to be killed.
  bool hasTimedOut() const { return hasTimedOut_; }
  /// What it has written: all of it, up to a limit, once `waitUntilExit` has returned.
  const KeptOutput& output() const { return output_; }

 private:
  enum class Event { kWritable, kOver };

  WatchedProcess(ChildProcess child, FileDescriptor end, FileDescriptor timer, KeptOutput output);
  Event nextEvent(int writable);

  ChildProcess child_;
  FileDescriptor end_;  ///< not open when the end came unseen
  FileDescriptor timer_;
  KeptOutput output_;
  bool hasTimedOut_ = false;
};

}  // namespace velto
