#pragma once

#include <functional>
#include <memory>
#include <thread>

namespace velto {

/// A thread that does jobs one after the other, in the order they come. Any thread.
class SerialQueue {
 public:
  /// Throws std::system_error when there is no thread to be had.
  SerialQueue();
  /// Waits until all jobs are done; within a job, it leaves the thread to do the rest by itself.
  ~SerialQueue();
  SerialQueue(const SerialQueue&) = delete;
  SerialQueue& operator=(const SerialQueue&) = delete;

  /// A job that throws ends the process.
  void perform(std::function<void()> job);

 private:
  class Jobs;

  const std::shared_ptr<Jobs> jobs_;
  std::thread thread_;
};

}  // namespace velto
