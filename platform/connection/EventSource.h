// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <sys/epoll.h>
#include <sys/types.h>
#include <utility>

#include <boost/intrusive/list_hook.hpp>

#include "platform/foundation/FileDescriptor.h"

namespace velto {

struct Turn;
struct TurnsOfUser;

/// What a source waits for.
enum class Event : std::uint32_t {
  kNone = 0,
  kInput = EPOLLIN,
  kOutput = EPOLLOUT,
  kHangUp = EPOLLRDHUP,  ///< that the other end hangs up, or the source is nudged
  kLater = EPOLLHUP,     ///< nothing, until the source is resumed
  kTurn = EPOLLERR,   ///< nothing: it has more to do, once the others of its user had their turns
  kPlace = EPOLLMSG,  ///< a place among the waiting calls of its user (WaitingPlace)
};

/// Something that a run loop waits for and serves: a descriptor, and what to do when it is ready.
/// Once added to a run loop it belongs to it. It waits for one event at a time and is served by one
/// thread at a time, so it needs no lock of its own.
class EventSource : public boost::intrusive::list_base_hook<> {
 public:
  /// The user to whom the daemon's own sources belong; nobody else has this number.
  static constexpr uid_t kDaemonItself = static_cast<uid_t>(-1);

  /// What serving it costs is `user`'s.
  explicit EventSource(FileDescriptor descriptor, uid_t user = kDaemonItself)
      : descriptor_(std::move(descriptor)), user_(user) {}
  virtual ~EventSource() = default;
  EventSource(const EventSource&) = delete;
  EventSource& operator=(const EventSource&) = delete;

  int descriptor() const { return descriptor_.get(); }

  /// Serves the event waited for, and may take any time for it. Returns the event to wait for next;
  /// with none, the source is destroyed. With kLater the source has seen to it that some thread
  /// resumes it, which may have happened already.
  virtual Event serve() noexcept = 0;

 private:
  friend class RunLoop;
  friend class UserTurns;

  const FileDescriptor descriptor_;
  const uid_t user_;

  // Where it stands among the turns; guarded by the run loop's lock.
  bool isParked_ = false;
  bool isRoused_ = false;
  bool hasPlace_ = false;     ///< kept for it, until it takes it
  bool isListening_ = false;  ///< waits for kHangUp
  bool isNudged_ = false;     ///< before it came to wait for that
  TurnsOfUser* turns_ = nullptr;
  Turn* turn_ = nullptr;  ///< while it is served; its thread's alone
};

}  // namespace velto
