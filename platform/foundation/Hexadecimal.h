// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/foundation/Data.h"

namespace velto {

/// Whether the digits above nine are letters a to f or A to F.
enum class HexadecimalCase { kLower, kUpper };

/// Appends the two digits of a byte.
inline void appendHexadecimal(std::string& text, std::uint8_t byte,
                              HexadecimalCase letters = HexadecimalCase::kLower) {
  const std::string_view digits =
      letters == HexadecimalCase::kLower ? "0123456789abcdef" : "0123456789ABCDEF";
  text.push_back(digits[byte >> 4U]);
  text.push_back(digits[byte & 0xFU]);
}

/// Returns two lower-case digits a byte.
inline std::string hexadecimal(const Data& data) {
  std::string text;
  text.reserve(2 * data.size());
  for (const std::uint8_t byte : data.bytes()) {
    appendHexadecimal(text, byte);
  }
  return text;
}

}  // namespace velto
