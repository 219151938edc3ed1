// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/foundation/Data.h"
#include "platform/push/PushIdentity.h"
#include "platform/push/PushReports.h"

namespace velto {

/// What the notifications of a message have in common. Constant once it is made.
struct PushMessage {
  std::shared_ptr<const PushIdentity> identity;
  Data payload;
  std::vector<std::string> headers;  ///< "Name: value" each
};

/// One notification on its way: a message for one device, and who wants to know what became of it.
struct PushNotification {
  std::shared_ptr<const PushMessage> message;
  Data device;
  PushDuty duty;
  PushReports::Clock::time_point deadline;  ///< until when somebody waits for the outcome
  int timesSent = 0;
};

}  // namespace velto
