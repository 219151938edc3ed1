// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/connection/RunLoop.h"

namespace velto {

/// A place among the calls of a user that wait for a child process or a gateway. Whoever is to make
/// such a call takes one for the time of the call; where there is none, it makes no call, and lets
/// its source wait for Event::kPlace: then there is one. Within `EventSource::serve`; goes back by
/// itself.
class WaitingPlace {
 public:
  WaitingPlace(RunLoop& runLoop, EventSource& source)
      : runLoop_(runLoop), source_(source), isTaken_(runLoop.takePlace(source)) {}
  ~WaitingPlace() {
    if (isTaken_) runLoop_.giveBackPlace(source_);
  }
  WaitingPlace(const WaitingPlace&) = delete;
  WaitingPlace& operator=(const WaitingPlace&) = delete;

  bool isTaken() const { return isTaken_; }

 private:
  RunLoop& runLoop_;
  EventSource& source_;
  const bool isTaken_;
};

}  // namespace velto
