// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <sys/epoll.h>
#include <utility>

#include "platform/foundation/FileDescriptor.h"

namespace velto {

/// What a source waits for.
enum class Event : std::uint32_t {
  kNone = 0,
  kInput = EPOLLIN,
  kOutput = EPOLLOUT,
  kLater = EPOLLHUP,  ///< nothing, until the source is resumed
};

/// Something that a run loop waits for and serves: a descriptor, and what to do when it is ready.
/// Once added to a run loop it belongs to it. It waits for one event at a time and is served by one
/// thread at a time, so it needs no lock of its own.
class EventSource {
 public:
  explicit EventSource(FileDescriptor descriptor) : descriptor_(std::move(descriptor)) {}
  virtual ~EventSource() = default;
  EventSource(const EventSource&) = delete;
  EventSource& operator=(const EventSource&) = delete;

  int descriptor() const { return descriptor_.get(); }

  /// Serves the event waited for, and may take any time for it. Returns the event to wait for next;
  /// with none, the source is destroyed. With kLater the source has seen to it that some thread
  /// resumes it, which may have happened already.
  virtual Event serve() noexcept = 0;

 private:
  const FileDescriptor descriptor_;
};

}  // namespace velto
