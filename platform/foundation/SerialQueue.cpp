#include "platform/foundation/SerialQueue.h"

#include <condition_variable>
#include <utility>
#include <vector>

#include "platform/foundation/Mutex.h"

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

  void end() {
    {
      const MutexLock lock(mutex_);
      isEnding_ = true;
    }
    isWorkOrEnd_.notify_one();
  }

  void doAll() noexcept {
    for (auto jobs = take(); !jobs.empty(); jobs = take()) {
      for (const auto& job : jobs) {
        job();
      }
    }
  }

 private:
  /// Waits for jobs; none when there will be no more.
  std::vector<std::function<void()>> take() {
    MutexLock lock(mutex_);
    while (waiting_.empty() && !isEnding_) {
      lock.wait(isWorkOrEnd_);
    }
    return std::exchange(waiting_, {});
  }

  Mutex mutex_;
  std::condition_variable isWorkOrEnd_;
  std::vector<std::function<void()>> waiting_ VELTO_GUARDED_BY(mutex_);
  bool isEnding_ VELTO_GUARDED_BY(mutex_) = false;
};

SerialQueue::SerialQueue()
    : jobs_(std::make_shared<Jobs>()), thread_([jobs = jobs_] { jobs->doAll(); }) {}

SerialQueue::~SerialQueue() {
  jobs_->end();
  if (thread_.get_id() == std::this_thread::get_id()) {
    thread_.detach();
  } else {
    thread_.join();
  }
}

void SerialQueue::perform(std::function<void()> job) {
  jobs_->add(std::move(job));
}

}  // namespace velto
