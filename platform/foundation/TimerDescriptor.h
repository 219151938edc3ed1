// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>

#include "platform/foundation/FileDescriptor.h"

namespace velto {

/// A descriptor that becomes readable after the time, to be waited for along with others. Not open,
/// with errno set, when there is none to be had. Any thread.
FileDescriptor timerExpiringAfter(std::chrono::milliseconds time);

/// One that becomes readable when `setTimer` says.
FileDescriptor idleTimer();
/// Has the timer expire once after the time, which is longer than none. Any thread.
void setTimer(int timer, std::chrono::milliseconds time);

}  // namespace velto
