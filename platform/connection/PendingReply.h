// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <utility>

#include "platform/connection/CallReply.h"
#include "platform/foundation/ProgramMistake.h"

namespace velto {

/// Who has made a call, and may have left before the reply came.
class ReplyReceiver {
 public:
  virtual ~ReplyReceiver() = default;
  /// The reply to a call that the receiver has left has come. Called on the thread that brings it.
  virtual void goOnWithReply() noexcept = 0;
};

/// The reply to one call on its way from the operation, on whichever thread, to the connection that
/// has made the call. Shared by the two, so that either may end first. Its states:
///
///     awaited --arrive--> arrived      the connection is still there, and takes the reply
///     awaited --leave---> left         the connection's thread has gone to other work
///        left --arrive--> arrived      the bringing thread goes on in that thread's place
///     awaited --abandon-> abandoned    the connection has ended; what arrives is dropped
///
/// Each side moves the state once, atomically, so exactly one of them goes on with the connection.
class PendingReply {
 public:
  /// `receiver` lives until the reply has been taken or abandoned.
  explicit PendingReply(ReplyReceiver& receiver) : receiver_(receiver) {}

  // The operation's side.
  void arrive(CallReply reply) noexcept {
    reply_ = std::move(reply);
    if (state_.exchange(State::kArrived) == State::kLeft) receiver_.goOnWithReply();
  }

  // The connection's side.
  bool hasArrived() const { return state_ == State::kArrived; }
  /// The reply, which has arrived.
  CallReply take() { return std::move(reply_); }
  /// False when the reply has arrived meanwhile. Otherwise the connection has been left, and all
  /// that it works with may be the bringing thread's already.
  bool leave() {
    State expected = State::kAwaited;
    return state_.compare_exchange_strong(expected, State::kLeft);
  }
  void abandon() { state_.exchange(State::kAbandoned); }

 private:
  enum class State : std::uint8_t { kAwaited, kLeft, kArrived, kAbandoned };

  ReplyReceiver& receiver_;
  std::atomic<State> state_ = State::kAwaited;
  CallReply reply_;
};

/// The duty to reply to a call, held by whoever is to do so. Goes without having been kept where
/// the operation lets go of it: the call is answered then, too, with a reply that is not offered.
/// Moves; one thread at a time.
class ReplyPromise {
 public:
  explicit ReplyPromise(std::shared_ptr<PendingReply> pending) : pending_(std::move(pending)) {}
  ~ReplyPromise() {
    if (pending_ != nullptr) keep(CallReply());
  }
  ReplyPromise(ReplyPromise&&) noexcept = default;
  ReplyPromise& operator=(ReplyPromise&&) = delete;

  /// Replies; called once at most.
  void keep(CallReply reply) noexcept {
    if (pending_ == nullptr) programMistake("a second reply to one call");
    std::exchange(pending_, nullptr)->arrive(std::move(reply));
  }
  /// Replies with what `make` returns. When it throws, which it only does for want of memory, the
  /// reply is lost, and the connection with it.
  template <typename Make>
  void keepWith(const Make& make) noexcept {
    try {
      keep(make());
    } catch (...) {
      keep(CallReply::lost());
    }
  }

 private:
  std::shared_ptr<PendingReply> pending_;
};

}  // namespace velto
