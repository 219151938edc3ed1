// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <list>
#include <memory>
#include <thread>
#include <unordered_map>

#include "platform/connection/EventSource.h"
#include "platform/foundation/FileDescriptor.h"
#include "platform/foundation/Mutex.h"

namespace velto {

/// Waits for events and serves them, for ever. A call is served on the thread that found it ready;
/// as long as all threads are inside calls, another thread takes over the waiting, so a call that
/// takes minutes holds up nobody. Threads that find nothing to do for a while end again. Any
/// thread.
class RunLoop {
 public:
  /// Ends the process when the system has no means to wait for events.
  RunLoop() noexcept;
  RunLoop(const RunLoop&) = delete;
  RunLoop& operator=(const RunLoop&) = delete;

  /// Takes over `source` and waits for its first event. Throws std::system_error, or
  /// std::bad_alloc, when there are no means for one more; the source is destroyed then.
  void add(std::unique_ptr<EventSource> source, Event first) VELTO_EXCLUDES(mutex_);

  /// Waits for the next event of a source that was served with kLater; with kNone it is destroyed.
  void resume(EventSource& source, Event next) noexcept VELTO_EXCLUDES(mutex_);

  /// Serves until `stop`. Called by one thread.
  void run() VELTO_EXCLUDES(mutex_);
  /// Makes `run` return once the calls under way have ended. Any thread, also within a call.
  void stop();
  /// Whether nothing new is to be begun.
  bool isStopping() const { return isStopping_; }

 private:
  using Sources = std::unordered_map<EventSource*, std::unique_ptr<EventSource>>;
  using Threads = std::list<std::thread>;

  EventSource* waitForEvent(int milliseconds, bool& isStopped) const;
  void serve(EventSource& source) VELTO_EXCLUDES(mutex_);
  void destroy(EventSource& source) VELTO_EXCLUDES(mutex_);
  void turnToEvent() VELTO_EXCLUDES(mutex_);
  bool turnToWaiting(EventSource& source, Event next) VELTO_EXCLUDES(mutex_);
  bool letWait(EventSource& source, Event next) const VELTO_REQUIRES(mutex_);
  void startHelper() VELTO_REQUIRES(mutex_);
  void help(Threads::iterator self) VELTO_EXCLUDES(mutex_);
  bool endHelper(Threads::iterator self, bool isStopped, Threads& endedBefore)
      VELTO_EXCLUDES(mutex_);

  const FileDescriptor epoll_;
  const FileDescriptor stopEvent_;
  std::atomic<bool> isStopping_ = false;

  Mutex mutex_;
  std::condition_variable helperHasEnded_;
  std::condition_variable isResumed_;
  Sources sources_ VELTO_GUARDED_BY(mutex_);
  /// How many sources are to be resumed; less than none while one has been before its thread is
  /// back from serving it.
  int suspended_ VELTO_GUARDED_BY(mutex_) = 0;
  /// How many threads wait for events.
  std::size_t waiting_ VELTO_GUARDED_BY(mutex_) = 0;
  /// The threads besides the one inside `run`.
  Threads helpers_ VELTO_GUARDED_BY(mutex_);
  /// Those that have nothing left to do but to be joined.
  Threads endedHelpers_ VELTO_GUARDED_BY(mutex_);
};

}  // namespace velto
