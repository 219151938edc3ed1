// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <thread>

#include "platform/foundation/Mutex.h"

namespace velto {

/// A thread that does jobs one after the other, in the order they come. It begins with the first
/// job, or before when it has to be there for certain. Any thread.
class SerialQueue {
 public:
  SerialQueue();
  /// Waits until all jobs are done, those included that they add meanwhile; within a job, it leaves
  /// the thread to do the rest by itself.
  ~SerialQueue();
  SerialQueue(const SerialQueue&) = delete;
  SerialQueue& operator=(const SerialQueue&) = delete;

  /// Starts the thread unless it runs already. False when there is none to be had; it may be tried
  /// again.
  bool start();
  /// False, and the job is dropped, when there is no thread to be had; never once the thread has
  /// been started. A job that throws ends the process.
  bool perform(std::function<void()> job);
  /// The same after a time, which is when the job takes its place among the others. One at a time:
  /// it replaces another that is still to come. What is to come when the queue goes is dropped.
  bool performAfter(std::chrono::milliseconds time, std::function<void()> job);

 private:
  class Jobs;

  const std::shared_ptr<Jobs> jobs_;
  Mutex mutex_;
  std::thread thread_ VELTO_GUARDED_BY(mutex_);
};

}  // namespace velto
