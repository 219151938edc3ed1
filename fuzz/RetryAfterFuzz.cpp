// SPDX-License-Identifier: Apache-2.0
// Whatever a gateway names as the time to come again is none, or between now and a week.

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>

#include "platform/push/RetryAfter.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string value(reinterpret_cast<const char*>(data), size);
  const auto delay = velto::retryDelay(value, velto::Date(0));
  if (delay && (delay->count() < 0 || *delay > std::chrono::hours(24 * 7))) __builtin_trap();
  return 0;
}
