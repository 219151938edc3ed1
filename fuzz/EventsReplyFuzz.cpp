// SPDX-License-Identifier: Apache-2.0
// Whatever the events service sends is an answer or an error that says so.

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "platform/events/EventsReply.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto error = velto::errorInEventsReply({reinterpret_cast<const char*>(data), size});
  if (error && error->localizedDescription().empty()) __builtin_trap();
  return 0;
}
