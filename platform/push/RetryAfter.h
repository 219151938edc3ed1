// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "platform/foundation/Date.h"

namespace velto {

/// How long to wait by the value of the header Retry-After (RFC 9110, section 10.2.3), seconds or a
/// date of HTTP. Nothing when it is neither; zero for a date in the past; a week for anything
/// longer. Any thread.
std::optional<std::chrono::milliseconds> retryDelay(const std::string& value, Date now);

}  // namespace velto
