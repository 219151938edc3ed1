// SPDX-License-Identifier: Apache-2.0
// Whatever a caller passes as a position in a list is the text of one place, or none.

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "store/AlertPages.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const auto place = velto::placeFromPosition(text);
  if (place && (place->rowId <= 0 || velto::positionText(*place) != text)) __builtin_trap();
  return 0;
}
