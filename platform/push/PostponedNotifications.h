// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <vector>

#include "platform/push/PushNotification.h"

namespace velto {

/// Notifications that the gateway has asked to be sent again later. One thread.
class PostponedNotifications {
 public:
  using Clock = std::chrono::steady_clock;

  bool isEmpty() const { return waiting_.empty(); }
  void add(PushNotification notification, Clock::time_point due);
  /// Those whose time has come.
  std::vector<PushNotification> takeDue(Clock::time_point now);
  /// Drops those whose callers have given up.
  void dropGivenUp();
  template <typename Work>
  void forEach(const Work& work) {
    for (Waiting& one : waiting_)
      work(one.notification);
  }

 private:
  struct Waiting {
    PushNotification notification;
    Clock::time_point due;
  };

  std::vector<Waiting> waiting_;
};

}  // namespace velto
