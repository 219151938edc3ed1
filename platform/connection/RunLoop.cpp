#include "platform/connection/RunLoop.h"

#include <chrono>
#include <exception>

#include "platform/connection/RunLoopImplementation.h"

namespace velto {
namespace {

/// How long a thread waits for something to do before it ends.
constexpr std::chrono::seconds kIdleTime{5};

}  // namespace

RunLoop::RunLoop() : implementation_(std::make_unique<Implementation>()) {}

RunLoop::~RunLoop() = default;

void RunLoop::run() {
  implementation_->run();
}

void RunLoop::stop() {
  implementation_->stop();
}

void RunLoop::Implementation::run() {
  context_.run();
  MutexLock lock(mutex_);
  while (!threads_.empty()) {
    lock.wait(ended_);
  }
  for (std::thread& thread : endedThreads_) {
    thread.join();
  }
  endedThreads_.clear();
}

void RunLoop::Implementation::occupyThread() {
  MutexLock lock(mutex_);
  ++occupied_;
  if (occupied_ > threads_.size() && !context_.stopped()) {
    startThread();
  }
}

void RunLoop::Implementation::freeThread() {
  MutexLock lock(mutex_);
  --occupied_;
}

void RunLoop::Implementation::startThread() {
  for (std::thread& thread : endedThreads_) {
    thread.join();
  }
  endedThreads_.clear();
  try {
    Threads started(1);
    const auto self = started.begin();
    *self = std::thread([this, self] { serveUntilIdle(self); });
    threads_.splice(threads_.end(), started);
  } catch (const std::exception&) {
    // No thread or no memory to be had: the others wait until one of ours is free again.
  }
}

void RunLoop::Implementation::serveUntilIdle(Threads::iterator self) {
  while (context_.run_one_for(kIdleTime) > 0 || !leave(self)) {
  }
}

/// Takes the calling thread off the list, unless it is the last one that waits for events.
bool RunLoop::Implementation::leave(Threads::iterator self) {
  MutexLock lock(mutex_);
  if (!context_.stopped() && occupied_ >= threads_.size()) {
    return false;
  }
  endedThreads_.splice(endedThreads_.end(), threads_, self);
  ended_.notify_one();
  return true;
}

}  // namespace velto
