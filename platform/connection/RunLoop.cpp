// SPDX-License-Identifier: Apache-2.0
// The leader/followers pattern with an elastic set of threads. All threads wait on one epoll, and
// an event wakes one of them (EPOLLONESHOT), which serves its source to the end: a call and its
// reply need no hand-over to another thread. The price is that somebody must always be left to
// wait.
//
//   1. waiting_ counts the threads that wait, or are on their way to. A thread that has an event
//      counts itself out, and starts a helper before it serves when it was the last.
//   2. A source is in one place at a time: armed in epoll, in the hands of the thread that serves
//      it, or suspended (kLater), in the hands of whoever is going to resume it. So it has no lock.
//   3. Whoever gives a source back, and whoever takes it next, holds mutex_ in between
//   (turnToEvent,
//      turnToWaiting), so all that was done to the source is seen. The kernel's own order would do,
//      but neither the language nor ThreadSanitizer knows of it.
//   4. resume() may come before the serving thread is back from serve() and has counted the source
//      as suspended: suspended_ is below zero then for a moment, and right again after it.
//
// mutex_ guards the lists and counters. A source is destroyed outside it, since its destructor may
// close files or wait for others. A helper that ends leaves its thread to be joined by the next one
// that starts a helper; that one may wait, under mutex_, for the trimming of the heap with which a
// helper ends.
//
// When the run loop is stopped, the event that nobody reads wakes every thread; `run` waits for the
// helpers and for the suspended sources, and only then destroys what is left.

#include "platform/connection/RunLoop.h"

#include <cerrno>
#include <cstdint>
#include <exception>
#include <malloc.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <system_error>
#include <tuple>

namespace velto {
namespace {

/// How long a helper waits for something to do before it ends, in milliseconds.
constexpr int kIdleTime = 5000;
constexpr int kForEver = -1;

[[noreturn]] void throwSystemError(const char* what) {
  throw std::system_error(errno, std::generic_category(), what);
}

FileDescriptor opened(int descriptor, const char* what) {
  if (descriptor < 0) throwSystemError(what);
  return FileDescriptor(descriptor);
}

/// One event wakes one thread, which has the source for itself until it waits again.
epoll_event eventOf(EventSource& source, Event event) {
  return {.events = static_cast<std::uint32_t>(event) | EPOLLONESHOT, .data = {.ptr = &source}};
}

/// Gives what the heap has to spare back to the system. One thread at a time, since glibc sets its
/// heap up without a lock when trimming is the first use of it, as it is where another allocator
/// serves the program.
void trimHeap() {
  static Mutex trimming;
  MutexLock lock(trimming);
  ::malloc_trim(0);
}

}  // namespace

RunLoop::RunLoop() noexcept
    : epoll_(opened(::epoll_create1(EPOLL_CLOEXEC), "epoll_create1")),
      stopEvent_(opened(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK), "eventfd")) {
  // Never read, so that it wakes every thread.
  epoll_event event{.events = EPOLLIN, .data = {.ptr = nullptr}};
  if (::epoll_ctl(epoll_.get(), EPOLL_CTL_ADD, stopEvent_.get(), &event) != 0) {
    throwSystemError("epoll_ctl");
  }
}

void RunLoop::add(std::unique_ptr<EventSource> source, Event first) {
  EventSource& added = *source;
  {
    MutexLock lock(mutex_);
    sources_.emplace(&added, std::move(source));
  }
  epoll_event event = eventOf(added, first);
  if (::epoll_ctl(epoll_.get(), EPOLL_CTL_ADD, added.descriptor(), &event) != 0) {
    const int error = errno;
    destroy(added);
    throw std::system_error(error, std::generic_category(), "epoll_ctl");
  }
}

void RunLoop::run() {
  {
    MutexLock lock(mutex_);
    ++waiting_;
  }
  for (bool isStopped = false; !isStopped;) {
    if (EventSource* source = waitForEvent(kForEver, isStopped)) serve(*source);
  }
  Sources sources;
  MutexLock lock(mutex_);
  --waiting_;
  while (!helpers_.empty()) {
    lock.wait(helperHasEnded_);
  }
  joinEndedHelpers();
  while (suspended_ != 0) {
    lock.wait(isResumed_);
  }
  sources.swap(sources_);
}

void RunLoop::stop() {
  const std::uint64_t one = 1;
  // It can only fail for being full, and then it has been told long ago.
  std::ignore = ::write(stopEvent_.get(), &one, sizeof(one));
}

/// The source that an event is for; null when there is none, because the time is up, a signal came,
/// or the run loop is stopped.
EventSource* RunLoop::waitForEvent(int milliseconds, bool& isStopped) const {
  epoll_event event{};
  if (::epoll_wait(epoll_.get(), &event, 1, milliseconds) != 1) return nullptr;
  isStopped = event.data.ptr == nullptr;
  return static_cast<EventSource*>(event.data.ptr);
}

void RunLoop::serve(EventSource& source) {
  turnToEvent();
  const Event next = source.serve();
  if (!turnToWaiting(source, next)) {
    destroy(source);
    MutexLock lock(mutex_);
    ++waiting_;
  }
}

void RunLoop::resume(EventSource& source, Event next) noexcept {
  bool waits = false;
  {
    MutexLock lock(mutex_);
    waits = letWait(source, next);
  }
  if (!waits) destroy(source);
  MutexLock lock(mutex_);
  --suspended_;
  isResumed_.notify_one();
}

void RunLoop::destroy(EventSource& source) {
  Sources::node_type destroyed;  // outside the lock, since a source may take its time
  MutexLock lock(mutex_);
  destroyed = sources_.extract(&source);
}

void RunLoop::turnToEvent() {
  MutexLock lock(mutex_);
  if (--waiting_ == 0) startHelper();
}

/// Lets the source wait for its next event, and counts the thread among those that wait. False when
/// the source is to be destroyed.
bool RunLoop::turnToWaiting(EventSource& source, Event next) {
  // The thread that has the source next takes the lock, too, and so sees all that was done to it.
  MutexLock lock(mutex_);
  if (next == Event::kLater) {
    ++suspended_;
  } else if (!letWait(source, next)) {
    return false;
  }
  ++waiting_;
  return true;
}

/// False when there is no event to wait for, or the system does not take it.
bool RunLoop::letWait(EventSource& source, Event next) const {
  epoll_event event = eventOf(source, next);
  return next != Event::kNone &&
         ::epoll_ctl(epoll_.get(), EPOLL_CTL_MOD, source.descriptor(), &event) == 0;
}

void RunLoop::startHelper() {
  joinEndedHelpers();
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
  bool isStopped = false;
  do {
    while (EventSource* source = waitForEvent(kIdleTime, isStopped)) {
      serve(*source);
    }
  } while (!endHelper(self, isStopped));
  // The burst of work that it was started for is over, and what that needed is to spare.
  trimHeap();
}

/// Ends a helper that has found nothing to do, unless it is the last one that waits.
bool RunLoop::endHelper(Threads::iterator self, bool isStopped) {
  MutexLock lock(mutex_);
  if (waiting_ == 1 && !isStopped) return false;
  --waiting_;
  endedHelpers_.splice(endedHelpers_.end(), helpers_, self);
  helperHasEnded_.notify_one();
  return true;
}

void RunLoop::joinEndedHelpers() {
  for (std::thread& thread : endedHelpers_) {
    thread.join();
  }
  endedHelpers_.clear();
}

}  // namespace velto
