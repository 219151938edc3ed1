// SPDX-License-Identifier: Apache-2.0
#include "platform/foundation/Base64.h"

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

namespace velto {
namespace {

constexpr std::string_view kAlphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

std::size_t paddingLength(std::string_view text) {
  if (text.ends_with("==")) {
    return 2;
  }
  return text.ends_with('=') ? 1 : 0;
}

}  // namespace

std::string base64Encoded(const Data& data) {
  const auto& bytes = data.bytes();
  std::string text;
  text.reserve((bytes.size() + 2) / 3 * 4);
  for (std::size_t i = 0; i < bytes.size(); i += 3) {
    const std::size_t count = std::min<std::size_t>(3, bytes.size() - i);
    std::uint32_t group = 0;
    for (std::size_t k = 0; k < 3; ++k) {
      group = group << 8 | (k < count ? bytes[i + k] : 0u);
    }
    for (std::size_t k = 0; k < 4; ++k) {
      text.push_back(k <= count ? kAlphabet[group >> (18 - 6 * k) & 63u] : '=');
    }
  }
  return text;
}

std::optional<Data> base64Decoded(std::string_view text) {
  if (text.size() % 4 != 0) {
    return std::nullopt;
  }
  const std::size_t padding = paddingLength(text);
  text.remove_suffix(padding);
  std::vector<std::uint8_t> bytes;
  bytes.reserve(text.size() / 4 * 3 + 2);
  std::uint32_t bits = 0;
  unsigned held = 0;
  for (const char character : text) {
    const std::size_t digit = kAlphabet.find(character);
    if (digit == std::string_view::npos) {
      return std::nullopt;
    }
    bits = (bits << 6 | static_cast<std::uint32_t>(digit)) & 0xffffu;
    held += 6;
    if (held >= 8) {
      held -= 8;
      bytes.push_back(static_cast<std::uint8_t>(bits >> held & 0xffu));
    }
  }
  return Data(std::move(bytes));
}

}  // namespace velto
