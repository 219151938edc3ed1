#pragma once

#include <atomic>
#include <utility>

#include "platform/connection/VarlinkService.h"

namespace velto {

/// Where the reply to a call comes in, from whichever thread. The owner, who has made the call, may
/// leave instead of waiting for it; whoever brings the reply then goes on in the owner's place.
class ReplySlot {
 public:
  /// For a call that is about to be made.
  void open() { state_ = State::kOpen; }

  /// Brings the reply. True when the owner has left.
  bool put(CallReply reply) {
    reply_ = std::move(reply);
    return state_.exchange(State::kFilled) == State::kLeft;
  }

  /// Whether there is no call: none has been made, or its reply has been taken.
  bool isEmpty() const { return state_ == State::kEmpty; }
  bool isFilled() const { return state_ == State::kFilled; }

  /// Empties the slot, which is filled.
  CallReply take() {
    state_ = State::kEmpty;
    return std::move(reply_);
  }

  /// False when the reply has come meanwhile. Otherwise the owner has left, and all that it works
  /// with may be somebody else's already.
  bool leave() {
    State expected = State::kOpen;
    return state_.compare_exchange_strong(expected, State::kLeft);
  }

 private:
  enum class State { kEmpty, kOpen, kLeft, kFilled };

  std::atomic<State> state_ = State::kEmpty;
  CallReply reply_;
};

}  // namespace velto
