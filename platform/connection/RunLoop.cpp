// SPDX-License-Identifier: Apache-2.0
// The leader/followers pattern with an elastic set of threads. All threads wait on one epoll, and
// an event wakes one of them (EPOLLONESHOT), which serves its source to the end: a call and its
// reply need no hand-over to another thread. The price is that somebody must always be left to
// wait.
//
//   1. waiting_ counts the threads that wait, or are on their way to. A thread that has a turn
//      counts itself out, and starts a helper before it serves when it was the last.
//   2. A source is in one place at a time: armed in epoll, in a queue of UserTurns, in the hands of
//      the thread that serves it, or suspended (kLater), in the hands of whoever is going to resume
//      it. So it has no lock.
//   3. Whoever gives a source back, and whoever takes it next, holds mutex_ in between (serveTurn,
//      resume, collect), so all that was done to the source is seen. The kernel's own order would
//      do, but neither the language nor ThreadSanitizer knows of it. It is armed after that, so
//      that the thread which wakes does not have to wait for mutex_ at once; arming_ keeps its
//      descriptor open until then.
//   4. resume() may come before the serving thread is back from serve() and has counted the source
//      as suspended: suspended_ is below zero then for a moment, and right again after it. Nothing
//      of a source that has been served with kLater is touched.
//   5. A source that may not be served now, since its user has all the turns that it may have,
//      lines up without a thread. Each thread that ends a turn takes the next one. So the last
//      thread that waits wakes up for whatever comes, and mostly has nothing to do but to put it in
//      its queue: it takes all that has come at once then, and finds the one whose user is free.
//   6. When more turns could be taken than the thread takes that has found them, it wakes another
//      one (wakeEvent_, edge-triggered: a write wakes one thread), which does the same in turn.
//   7. A source that waits for kHangUp lines up when it is nudged, although it is armed (lineUp).
//
// On a daemon that has nothing else to do a call costs one event and two locks: none of 5 to 7.
//
// mutex_ guards the lists and counters and nothing slow: a thread that loses its processor within
// it stops all others. A source is destroyed outside it, since its destructor may close files or
// wait for others. A helper that ends trims the heap, which takes a while, and leaves its thread to
// be joined by the next helper that ends, or by `run`: by threads that have nothing else to do.
//
// When the run loop is stopped, it goes on until no newcomer is left, or the time for them is up;
// who has been served before is told to end by its own turn. Then the event that nobody reads wakes
// every thread; `run` waits for the helpers and for the suspended sources, and only then destroys
// what is left, in the queues, too.

#include "platform/connection/RunLoop.h"

#include <cerrno>
#include <cstdint>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <system_error>
#include <tuple>
#include <unistd.h>
#include <utility>

#include "platform/foundation/TimerDescriptor.h"

namespace velto {
namespace {

constexpr int kForEver = -1;
/// A turn that has not ended for longer than this, or twice as much, takes long.
constexpr std::chrono::milliseconds kLongTurn{30};
/// For the first calls of newcomers, once the run loop is to stop.
constexpr std::chrono::milliseconds kFarewell{1000};

[[noreturn]] void throwSystemError(const char* what) {
  throw std::system_error(errno, std::generic_category(), what);
}

FileDescriptor opened(int descriptor, const char* what) {
  if (descriptor < 0) throwSystemError(what);
  return FileDescriptor(descriptor);
}

}  // namespace

/// Looks for long turns when its time has come.
class RunLoop::LongTurnWatch : public EventSource {
 public:
  explicit LongTurnWatch(RunLoop& runLoop) : EventSource(idleTimer()), runLoop_(runLoop) {}

  Event serve() noexcept override {
    std::uint64_t expirations = 0;
    std::ignore = ::read(descriptor(), &expirations, sizeof expirations);
    runLoop_.lookForLongTurns();
    return Event::kInput;
  }

 private:
  RunLoop& runLoop_;
};

/// Ends the run loop when its time has come.
class RunLoop::Farewell : public EventSource {
 public:
  explicit Farewell(RunLoop& runLoop) : EventSource(idleTimer()), runLoop_(runLoop) {}

  Event serve() noexcept override {
    runLoop_.end();
    return Event::kNone;
  }

 private:
  RunLoop& runLoop_;
};

RunLoop::RunLoop(const TurnLimits& limits) noexcept
    : epoll_(opened(::epoll_create1(EPOLL_CLOEXEC), "epoll_create1")),
      stopEvent_(opened(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK), "eventfd")),
      wakeEvent_(opened(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK), "eventfd")),
      turns_(limits) {
  // Neither is ever read. The one goes on to wake every thread; each write to the other wakes one.
  watchEvent(stopEvent_, EPOLLIN);
  watchEvent(wakeEvent_, EPOLLIN | EPOLLET);
  auto watch = std::make_unique<LongTurnWatch>(*this);
  watchTimer_ = watch->descriptor();
  add(std::move(watch), Event::kInput);
  auto farewell = std::make_unique<Farewell>(*this);
  farewellTimer_ = farewell->descriptor();
  add(std::move(farewell), Event::kInput);
}

/// Its events are told from those of sources by the address of its descriptor.
void RunLoop::watchEvent(const FileDescriptor& own, std::uint32_t events) const {
  epoll_event event{.events = events, .data = {.ptr = const_cast<FileDescriptor*>(&own)}};
  if (::epoll_ctl(epoll_.get(), EPOLL_CTL_ADD, own.get(), &event) != 0) {
    throwSystemError("epoll_ctl");
  }
}

/// One event wakes one thread, which has the source for itself until it waits again. That of a
/// source which may be nudged has a mark in its address (lineUp).
epoll_event RunLoop::eventOf(EventSource& source, Event event) {
  const auto address = reinterpret_cast<std::uintptr_t>(&source);
  return {.events = static_cast<std::uint32_t>(event) | EPOLLONESHOT,
          .data = {.u64 = event == Event::kHangUp ? address | kMayBeNudged : address}};
}

void RunLoop::add(std::unique_ptr<EventSource> source, Event first) {
  EventSource& added = *source;
  takeOver(std::move(source));
  epoll_event event = eventOf(added, first);
  if (::epoll_ctl(epoll_.get(), EPOLL_CTL_ADD, added.descriptor(), &event) != 0) {
    const int error = errno;
    destroy(added);
    throw std::system_error(error, std::generic_category(), "epoll_ctl");
  }
}

void RunLoop::takeOver(std::unique_ptr<EventSource> source) {
  MutexLock lock(mutex_);
  const auto place = sources_.emplace(source.get(), nullptr).first;
  try {
    turns_.join(*source);
  } catch (...) {
    sources_.erase(place);
    throw;
  }
  place->second = std::move(source);
}

void RunLoop::run() {
  {
    MutexLock lock(mutex_);
    ++waiting_;
  }
  while (serveNext(kForEver) != Came::kStop) {
  }
  Sources sources;
  MutexLock lock(mutex_);
  --waiting_;
  while (!helpers_.empty()) {
    lock.wait(helperHasEnded_);
  }
  while (suspended_ != 0) {
    lock.wait(isResumed_);
  }
  joinAll(endedHelpers_);
  turns_.dismissAll();
  sources.swap(sources_);
}

void RunLoop::stop() {
  isStopping_ = true;
  if (newcomers_ == 0) {
    end();
  } else {
    setTimer(farewellTimer_, kFarewell);
  }
}

void RunLoop::end() {
  hasEnded_ = true;
  // It can only fail for being full, and then it has been told long ago.
  ::eventfd_write(stopEvent_.get(), 1);
}

/// The last one and whoever stops the run loop each write before they read, so one of them sees
/// that it is to end.
void RunLoop::Newcomer::settle() {
  RunLoop* const runLoop = std::exchange(runLoop_, nullptr);
  if (runLoop != nullptr && --runLoop->newcomers_ == 0 && runLoop->isStopping_) runLoop->end();
}

/// Whether another thread is to be woken, once the lock has been left.
bool RunLoop::needsAnother() {
  if (turns_.isAnyoneHeldUp() && !isWatchSet_) {
    isWatchSet_ = true;
    setTimer(watchTimer_, kLongTurn);
  }
  if (!turns_.hasNext() || isWakeSent_) return false;
  isWakeSent_ = true;
  return true;
}

void RunLoop::resume(EventSource& source, Event next) noexcept {
  Left left = Left::kNothing;
  {
    Wake wake(*this);
    MutexLock lock(mutex_);
    left = keep(source, next);
    wake.isDue = needsAnother();
  }
  letGo(source, next, left);
  MutexLock lock(mutex_);
  --suspended_;
  isResumed_.notify_one();
}

void RunLoop::rouse(EventSource& source) noexcept {
  Wake wake(*this);
  MutexLock lock(mutex_);
  turns_.rouse(source);
  wake.isDue = needsAnother();
}

bool RunLoop::takePlace(EventSource& source) {
  Wake wake(*this);
  MutexLock lock(mutex_);
  const bool isTaken = turns_.takePlace(source);
  wake.isDue = needsAnother();
  return isTaken;
}

void RunLoop::giveBackPlace(EventSource& source) {
  Wake wake(*this);
  MutexLock lock(mutex_);
  turns_.giveBackPlace(source);
  wake.isDue = needsAnother();
}

void RunLoop::lookForLongTurns() {
  Wake wake(*this);
  MutexLock lock(mutex_);
  isWatchSet_ = false;
  turns_.lookForLongTurns();
  wake.isDue = needsAnother();
}

void RunLoop::destroy(EventSource& source) {
  // The thread that armed the source may not be back from that.
  { MutexLock lock(arming_); }
  Sources::node_type destroyed;  // outside the lock, since a source may take its time
  Wake wake(*this);
  MutexLock lock(mutex_);
  turns_.leave(source);
  destroyed = sources_.extract(&source);
  wake.isDue = needsAnother();
}

}  // namespace velto
