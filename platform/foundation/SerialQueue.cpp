// SPDX-License-Identifier: Apache-2.0
#include "platform/foundation/SerialQueue.h"

#include <condition_variable>
#include <system_error>
#include <utility>
#include <vector>

namespace velto {

/// What the queue shares with its thread, which may live longer.
class SerialQueue::Jobs {
 public:
  void add(std::function<void()> job) {
    {
      const MutexLock lock(mutex_);
      waiting_.push_back(std::move(job));
    }
    isWorkOrEnd_.notify_one();
  }

  void addLater(std::chrono::steady_clock::time_point when, std::function<void()> job) {
    {
      const MutexLock lock(mutex_);
      later_.swap(job);
      when_ = when;
    }
    isWorkOrEnd_.notify_one();
  }

  void end() {
    {
      const MutexLock lock(mutex_);
      isEnding_ = true;
    }
    isWorkOrEnd_.notify_one();
  }

  void doAll() noexcept {
    for (auto jobs = take(); !jobs.empty(); jobs = take()) {
      for (auto& job : jobs) {
        // Out of the list, so that what it holds does not stay until the next jobs come.
        std::exchange(job, nullptr)();
      }
    }
  }

 private:
  /// Waits for jobs; none when there will be no more.
  std::vector<std::function<void()>> take() {
    MutexLock lock(mutex_);
    while (waiting_.empty() && !isEnding_) {
      if (later_ == nullptr) {
        lock.wait(isWorkOrEnd_);
      } else if (std::chrono::steady_clock::now() < when_) {
        lock.waitUntil(isWorkOrEnd_, when_);
      } else {
        waiting_.push_back(std::exchange(later_, nullptr));
      }
    }
    return std::exchange(waiting_, {});
  }

  Mutex mutex_;
  std::condition_variable isWorkOrEnd_;
  std::vector<std::function<void()>> waiting_ VELTO_GUARDED_BY(mutex_);
  std::function<void()> later_ VELTO_GUARDED_BY(mutex_);  ///< null when there is none
  std::chrono::steady_clock::time_point when_ VELTO_GUARDED_BY(mutex_);
  bool isEnding_ VELTO_GUARDED_BY(mutex_) = false;
};

SerialQueue::SerialQueue() : jobs_(std::make_shared<Jobs>()) {}

SerialQueue::~SerialQueue() {
  jobs_->end();
  if (thread_.get_id() == std::this_thread::get_id()) {
    thread_.detach();
  } else if (thread_.joinable()) {
    thread_.join();
  }
}

bool SerialQueue::start() {
  const MutexLock lock(mutex_);
  if (thread_.joinable()) {
    return true;
  }
  try {
    thread_ = std::thread([jobs = jobs_] { jobs->doAll(); });
  } catch (const std::system_error&) {
    return false;
  }
  return true;
}

bool SerialQueue::perform(std::function<void()> job) {
  if (!start()) {
    return false;
  }
  jobs_->add(std::move(job));
  return true;
}

bool SerialQueue::performAfter(std::chrono::milliseconds time, std::function<void()> job) {
  if (!start()) {
    return false;
  }
  jobs_->addLater(std::chrono::steady_clock::now() + time, std::move(job));
  return true;
}

}  // namespace velto
