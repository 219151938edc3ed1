// SPDX-License-Identifier: Apache-2.0
// The threads of a run loop: how one waits, serves, lets a source wait again, and ends. RunLoop.cpp
// tells the idea.

#include <array>
#include <cstdint>
#include <exception>
#include <malloc.h>
#include <utility>

#include "platform/connection/RunLoop.h"

namespace velto {
namespace {

/// How long a helper waits for something to do before it ends, in milliseconds.
constexpr int kIdleTime = 5000;
/// How many events are taken at once. Those of a burst are for a few threads that take turns, not
/// for as many threads as there are events.
constexpr std::size_t kManyEvents = 64;

/// Gives what the heap has to spare back to the system. One thread at a time, since glibc sets its
/// heap up without a lock when trimming is the first use of it, as it is where another allocator
/// serves the program.
void trimHeap() {
  static Mutex trimming;
  MutexLock lock(trimming);
  ::malloc_trim(0);
}

}  // namespace

/// Waits for an event, and then serves as long as there are turns to take.
RunLoop::Came RunLoop::serveNext(int milliseconds) {
  std::array<epoll_event, kManyEvents> events;
  int count = ::epoll_wait(epoll_.get(), events.data(), kManyEvents, milliseconds);
  if (count <= 0) return Came::kNothing;  // the time is up, or a signal came
  while (count > 0) {
    Turn turn;
    if (!collect({events.data(), static_cast<std::size_t>(count)}, turn)) return Came::kStop;
    if (turn.source != nullptr) {
      serve(turn);
      break;
    }
    count = ::epoll_wait(epoll_.get(), events.data(), kManyEvents, 0);
  }
  return Came::kSomething;
}

/// Lines up what the events are for, and takes a turn. False when the run loop is stopped.
bool RunLoop::collect(std::span<const epoll_event> events, Turn& turn) {
  Wake wake(*this);
  MutexLock lock(mutex_);
  for (const epoll_event& event : events) {
    if (event.data.ptr == &stopEvent_) return false;
    if (event.data.ptr == &wakeEvent_) {
      isWakeSent_ = false;
    } else {
      lineUp(event);
    }
  }
  turn = takeTurn();
  wake.isDue = needsAnother();
  return true;
}

/// Lines up the source that the event is for. That of a source that could be nudged may come when
/// the source is being served, or gone, or another one stands at its address. So it carries a mark,
/// and counts only where a source listens at the address: at worst it is the event of that one's
/// predecessor, and a source is served without need. An event that does not count is lost to
/// nobody, since whoever serves the source arms it anew.
void RunLoop::lineUp(const epoll_event& event) {
  auto* const source =
      reinterpret_cast<EventSource*>(static_cast<std::uintptr_t>(event.data.u64 & ~kMayBeNudged));
  if ((event.data.u64 & kMayBeNudged) == 0) return turns_.lineUp(*source);
  if (sources_.contains(source) && std::exchange(source->isListening_, false)) {
    turns_.lineUp(*source);
  }
}

void RunLoop::nudge(EventSource& source) noexcept {
  Wake wake(*this);
  MutexLock lock(mutex_);
  if (std::exchange(source.isListening_, false)) {
    turns_.lineUp(source);
  } else {
    source.isNudged_ = true;
  }
  wake.isDue = needsAnother();
}

void RunLoop::serve(Turn turn) {
  while (turn.source != nullptr) {
    turn = serveTurn(turn);
  }
}

/// Serves the source, lets it wait for its next event, and takes the next turn.
Turn RunLoop::serveTurn(Turn turn) {
  EventSource& source = *turn.source;
  UserTurns::begin(turn);
  const Event event = source.serve();
  Turn next;
  Left left = Left::kNothing;
  {
    Wake wake(*this);
    MutexLock lock(mutex_);
    turns_.end(turn);
    left = keep(source, event);
    ++waiting_;
    next = takeTurn();
    wake.isDue = needsAnother();
  }
  letGo(source, event, left);
  return next;
}

/// Lets the source wait for what comes next; what is left to do then is for letGo().
RunLoop::Left RunLoop::keep(EventSource& source, Event next) {
  switch (next) {
    case Event::kNone:
      return Left::kDestroying;
    case Event::kLater:
      ++suspended_;
      return Left::kNothing;
    case Event::kTurn:
      turns_.lineUp(source);
      return Left::kNothing;
    case Event::kPlace:
      turns_.park(source);
      return Left::kNothing;
    case Event::kHangUp:
      if (!std::exchange(source.isNudged_, false)) {
        source.isListening_ = arm(source, next);
        return source.isListening_ ? Left::kNothing : Left::kDestroying;
      }
      turns_.lineUp(source);
      return Left::kNothing;
    default:
      return Left::kArming;
  }
}

/// Without the lock: whoever waits wakes up at once when the event has come before, and would only
/// wait again, for the lock. When the system has no means to wait, the source is destroyed.
void RunLoop::letGo(EventSource& source, Event next, Left left) {
  if (left == Left::kDestroying || (left == Left::kArming && !arm(source, next))) destroy(source);
}

bool RunLoop::arm(EventSource& source, Event next) {
  epoll_event event = eventOf(source, next);
  MutexLock lock(arming_);
  return ::epoll_ctl(epoll_.get(), EPOLL_CTL_MOD, source.descriptor(), &event) == 0;
}

/// The next turn, for a thread that counts as waiting, if there is one.
Turn RunLoop::takeTurn() {
  if (!turns_.hasNext() || hasEnded_) return {};
  const Turn next = turns_.next();
  if (--waiting_ == 0) startHelper();
  return next;
}

void RunLoop::joinAll(Threads& threads) {
  for (std::thread& thread : threads) {
    thread.join();
  }
  threads.clear();
}

void RunLoop::startHelper() {
  try {
    Threads started(1);
    const auto self = started.begin();
    *self = std::thread([this, self] { help(self); });
    helpers_.splice(helpers_.end(), started);
    ++waiting_;
  } catch (const std::exception&) {
    // No thread or no memory to be had: the others wait until one of ours is free again.
  }
}

void RunLoop::help(Threads::iterator self) {
  Threads endedBefore;
  Came came = Came::kSomething;
  do {
    while ((came = serveNext(kIdleTime)) == Came::kSomething) {
    }
  } while (!endHelper(self, came == Came::kStop, endedBefore));
  joinAll(endedBefore);
  // The burst of work that it was started for is over, and what that needed is to spare.
  trimHeap();
}

/// Ends a helper that has found nothing to do, unless it is the last one that waits.
bool RunLoop::endHelper(Threads::iterator self, bool isStopped, Threads& endedBefore) {
  MutexLock lock(mutex_);
  if (waiting_ == 1 && !isStopped) return false;
  --waiting_;
  endedBefore.swap(endedHelpers_);
  endedHelpers_.splice(endedHelpers_.end(), helpers_, self);
  helperHasEnded_.notify_one();
  return true;
}

}  // namespace velto
