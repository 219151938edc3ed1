// SPDX-License-Identifier: Apache-2.0
// Whatever a bundle's strings file holds, what people are told is text.

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "alerts/AlertText.h"
#include "platform/foundation/UTF8.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto texts =
      velto::textsInStringsFile({reinterpret_cast<const char*>(data), size}, nullptr);
  if (!texts) return 0;
  // The texts are their own attributes, so that "%{name}" finds values of every kind.
  for (const auto& [key, value] : *texts) {
    if (value.string() != nullptr &&
        velto::invalidUTF8Offset(velto::expandedText(*value.string(), *texts))) {
      __builtin_trap();
    }
  }
  return 0;
}
