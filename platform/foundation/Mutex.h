// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

// clang's thread-safety analysis knows a lock by these attributes; other compilers ignore them.
#if defined(__clang__)
#define VELTO_THREAD_ATTRIBUTE(x) __attribute__((x))
#else
#define VELTO_THREAD_ATTRIBUTE(x)
#endif

#define VELTO_GUARDED_BY(mutex) VELTO_THREAD_ATTRIBUTE(guarded_by(mutex))
#define VELTO_REQUIRES(...) VELTO_THREAD_ATTRIBUTE(requires_capability(__VA_ARGS__))
#define VELTO_EXCLUDES(...) VELTO_THREAD_ATTRIBUTE(locks_excluded(__VA_ARGS__))

namespace velto {

/// std::mutex, known to the thread-safety analysis.
class VELTO_THREAD_ATTRIBUTE(capability("mutex")) Mutex {
 public:
  void lock() VELTO_THREAD_ATTRIBUTE(acquire_capability()) { mutex_.lock(); }
  void unlock() VELTO_THREAD_ATTRIBUTE(release_capability()) { mutex_.unlock(); }

 private:
  friend class MutexLock;
  std::mutex mutex_;
};

/// Holds a Mutex for a scope.
class VELTO_THREAD_ATTRIBUTE(scoped_lockable) MutexLock {
 public:
  explicit MutexLock(Mutex& mutex) VELTO_THREAD_ATTRIBUTE(acquire_capability(mutex))
      : lock_(mutex.mutex_) {}
  ~MutexLock() VELTO_THREAD_ATTRIBUTE(release_capability()) {}
  MutexLock(const MutexLock&) = delete;
  MutexLock& operator=(const MutexLock&) = delete;

  /// Waits on `condition`, releasing the mutex meanwhile. May return without a reason: loop.
  void wait(std::condition_variable& condition) { condition.wait(lock_); }
  /// The same, at the longest until a moment of the steady clock.
  void waitUntil(std::condition_variable& condition,
                 std::chrono::steady_clock::time_point deadline) {
    condition.wait_until(lock_, deadline);
  }

 private:
  std::unique_lock<std::mutex> lock_;
};

}  // namespace velto
