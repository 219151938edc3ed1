#pragma once

#include <condition_variable>
#include <cstddef>
#include <list>
#include <thread>

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>

#include "platform/connection/RunLoop.h"
#include "platform/foundation/Mutex.h"

namespace velto {

/// The event queue and the threads that serve it. Any thread.
class RunLoop::Implementation {
 public:
  /// Marks the calling thread, which is serving an event, as occupied for a scope. What it does may
  /// then take any time: there is always another thread that waits for events.
  class Occupied {
   public:
    explicit Occupied(Implementation& runLoop) : runLoop_(runLoop) { runLoop_.occupyThread(); }
    ~Occupied() { runLoop_.freeThread(); }
    Occupied(const Occupied&) = delete;
    Occupied& operator=(const Occupied&) = delete;

   private:
    Implementation& runLoop_;
  };

  boost::asio::io_context& context() { return context_; }
  void run();
  void stop() { context_.stop(); }

 private:
  using Threads = std::list<std::thread>;

  void occupyThread() VELTO_EXCLUDES(mutex_);
  void freeThread() VELTO_EXCLUDES(mutex_);
  void startThread() VELTO_REQUIRES(mutex_);
  void serveUntilIdle(Threads::iterator self) VELTO_EXCLUDES(mutex_);
  bool leave(Threads::iterator self) VELTO_EXCLUDES(mutex_);

  boost::asio::io_context context_;
  boost::asio::executor_work_guard<boost::asio::io_context::executor_type> work_{
      context_.get_executor()};

  Mutex mutex_;
  std::condition_variable ended_;
  /// The threads besides the one inside `run`.
  Threads threads_ VELTO_GUARDED_BY(mutex_);
  /// Threads that have nothing left to do but to be joined.
  Threads endedThreads_ VELTO_GUARDED_BY(mutex_);
  std::size_t occupied_ VELTO_GUARDED_BY(mutex_) = 0;
};

}  // namespace velto
