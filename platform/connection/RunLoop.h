// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <list>
#include <memory>
#include <span>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <thread>
#include <unordered_map>

#include "platform/connection/EventSource.h"
#include "platform/connection/UserTurns.h"
#include "platform/foundation/FileDescriptor.h"
#include "platform/foundation/Mutex.h"

namespace velto {

/// Waits for events and serves them, for ever. A call is served on the thread that found it ready;
/// as long as all threads are inside calls, another thread takes over the waiting, so a call that
/// takes minutes holds up nobody. Who comes next, and how many of one user at a time, is decided by
/// UserTurns. Threads that find nothing to do for a while end again. Any thread.
class RunLoop {
 public:
  /// Ends the process when the system has no means to wait for events.
  explicit RunLoop(const TurnLimits& limits = {}) noexcept;
  RunLoop(const RunLoop&) = delete;
  RunLoop& operator=(const RunLoop&) = delete;

  /// Takes over `source` and waits for its first event. Throws std::system_error, or
  /// std::bad_alloc, when there are no means for one more; the source is destroyed then.
  void add(std::unique_ptr<EventSource> source, Event first) VELTO_EXCLUDES(mutex_);

  /// Waits for the next event of a source that was served with kLater; with kNone it is destroyed.
  void resume(EventSource& source, Event next) noexcept VELTO_EXCLUDES(mutex_);

  /// Serves a source soon that is to end, also when it waits for a place. It is alive.
  void rouse(EventSource& source) noexcept VELTO_EXCLUDES(mutex_);

  /// Serves a source soon that waits for kHangUp; one that does not is served as soon as it comes
  /// to wait for it. It is alive, at least until its destructor has begun.
  void nudge(EventSource& source) noexcept VELTO_EXCLUDES(mutex_);

  /// Serves until `stop`. Called by one thread.
  void run() VELTO_EXCLUDES(mutex_);
  /// Makes `run` return once the calls under way have ended, and the first calls of newcomers; for
  /// those that have not come it waits a second. Any thread, also within a call.
  void stop();
  /// Whether nothing new is to be begun, but for newcomers.
  bool isStopping() const { return isStopping_; }

  /// Somebody who has been let in, as long as they have not been served: their first call may be on
  /// its way, and they cannot know that the run loop is about to stop. Any thread; one at a time.
  class Newcomer {
   public:
    explicit Newcomer(RunLoop& runLoop) : runLoop_(&runLoop) { ++runLoop_->newcomers_; }
    ~Newcomer() { settle(); }
    Newcomer(const Newcomer&) = delete;
    Newcomer& operator=(const Newcomer&) = delete;

    bool isSettled() const { return runLoop_ == nullptr; }
    /// They are served now. Nothing when they were before.
    void settle();

   private:
    RunLoop* runLoop_;
  };

 private:
  friend class WaitingPlace;
  class LongTurnWatch;
  class Farewell;
  /// Wakes another thread at its end, when that is due. Stands before the lock, so as to be left
  /// after it.
  class Wake {
   public:
    explicit Wake(const RunLoop& runLoop) : runLoop_(runLoop) {}
    ~Wake() {
      if (isDue) ::eventfd_write(runLoop_.wakeEvent_.get(), 1);
    }
    Wake(const Wake&) = delete;
    Wake& operator=(const Wake&) = delete;

    bool isDue = false;

   private:
    const RunLoop& runLoop_;
  };
  using Sources = std::unordered_map<EventSource*, std::unique_ptr<EventSource>>;
  using Threads = std::list<std::thread>;

  /// In the event of a source that may be nudged: no source is at an odd address.
  static constexpr std::uint64_t kMayBeNudged = 1;

  /// What is left to do for a source that has been served, once the lock has been left.
  enum class Left { kNothing, kArming, kDestroying };
  /// What comes of waiting.
  enum class Came { kNothing, kSomething, kStop };

  void end();
  void watchEvent(const FileDescriptor& own, std::uint32_t events) const;
  void takeOver(std::unique_ptr<EventSource> source) VELTO_EXCLUDES(mutex_);
  Came serveNext(int milliseconds) VELTO_EXCLUDES(mutex_);
  bool collect(std::span<const epoll_event> events, Turn& turn) VELTO_EXCLUDES(mutex_);
  void serve(Turn turn) VELTO_EXCLUDES(mutex_);
  Turn serveTurn(Turn turn) VELTO_EXCLUDES(mutex_);
  Turn takeTurn() VELTO_REQUIRES(mutex_);
  Left keep(EventSource& source, Event next) VELTO_REQUIRES(mutex_);
  void letGo(EventSource& source, Event next, Left left) VELTO_EXCLUDES(mutex_);
  static epoll_event eventOf(EventSource& source, Event event);
  bool arm(EventSource& source, Event next) VELTO_EXCLUDES(arming_);
  void lineUp(const epoll_event& event) VELTO_REQUIRES(mutex_);
  void destroy(EventSource& source) VELTO_EXCLUDES(mutex_);
  bool needsAnother() VELTO_REQUIRES(mutex_);
  bool takePlace(EventSource& source) VELTO_EXCLUDES(mutex_);
  void giveBackPlace(EventSource& source) VELTO_EXCLUDES(mutex_);
  void lookForLongTurns() VELTO_EXCLUDES(mutex_);
  static void joinAll(Threads& threads);
  void startHelper() VELTO_REQUIRES(mutex_);
  void help(Threads::iterator self) VELTO_EXCLUDES(mutex_);
  bool endHelper(Threads::iterator self, bool isStopped, Threads& endedBefore)
      VELTO_EXCLUDES(mutex_);

  const FileDescriptor epoll_;
  const FileDescriptor stopEvent_;
  /// Written to when a turn waits for a thread.
  const FileDescriptor wakeEvent_;
  /// Of the watch for long turns, which is a source.
  int watchTimer_ = -1;
  /// Of the time for newcomers, which is a source, too.
  int farewellTimer_ = -1;
  std::atomic<bool> isStopping_ = false;
  std::atomic<bool> hasEnded_ = false;  ///< no turn is begun any more
  std::atomic<int> newcomers_ = 0;

  /// Held while a source is armed; taken after mutex_, or without it.
  Mutex arming_;
  Mutex mutex_;
  std::condition_variable helperHasEnded_;
  std::condition_variable isResumed_;
  Sources sources_ VELTO_GUARDED_BY(mutex_);
  UserTurns turns_ VELTO_GUARDED_BY(mutex_);
  bool isWakeSent_ VELTO_GUARDED_BY(mutex_) = false;
  bool isWatchSet_ VELTO_GUARDED_BY(mutex_) = false;
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
