// SPDX-License-Identifier: Apache-2.0
// Any bytes: the reader of calls takes the texts that Boost.JSON takes, and reads the same values.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "tests/json/JSONTree.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  if (!velto::readsAsBoostDoes(text)) __builtin_trap();
  return 0;
}
