// SPDX-License-Identifier: Apache-2.0
#include "platform/push/PostponedNotifications.h"

#include <algorithm>
#include <utility>

namespace velto {

void PostponedNotifications::add(PushNotification notification, Clock::time_point due) {
  waiting_.push_back({std::move(notification), due});
}

std::vector<PushNotification> PostponedNotifications::takeDue(Clock::time_point now) {
  const auto due = std::stable_partition(waiting_.begin(), waiting_.end(),
                                         [&](const Waiting& one) { return one.due > now; });
  std::vector<PushNotification> taken;
  std::for_each(due, waiting_.end(),
                [&](Waiting& one) { taken.push_back(std::move(one.notification)); });
  waiting_.erase(due, waiting_.end());
  return taken;
}

void PostponedNotifications::dropGivenUp() {
  std::erase_if(waiting_, [](const Waiting& one) { return one.notification.duty.isGivenUp(); });
}

}  // namespace velto
