// SPDX-License-Identifier: Apache-2.0
#include "platform/foundation/JSONText.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

#include "platform/foundation/Hexadecimal.h"
#include "platform/foundation/Words.h"

namespace velto {
namespace {

/// Enough for any number.
constexpr std::size_t kLongestNumber = 32;

template <typename Number>
std::string_view appendNumber(std::string& text, Number value) {
  std::array<char, kLongestNumber> digits;
  const char* end = std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr;
  const auto size = static_cast<std::size_t>(end - digits.data());
  text.append(digits.data(), size);
  return std::string_view(text).substr(text.size() - size);
}

bool isWhole(std::string_view number) {
  return std::none_of(number.begin(), number.end(),
                      [](char character) { return character == '.' || character == 'e'; });
}

/// Whether one of eight characters may need an escape. Of a difference from a byte to the next
/// smaller one than asked for the highest bit is set, and was not before; borrowing from the next
/// byte can only make characters be looked at in vain.
bool mayNeedEscape(std::uint64_t word) {
  const auto hasBelow = [](std::uint64_t bytes, std::uint8_t limit) {
    return (bytes - inEachByte(limit)) & ~bytes & inEachByte(0x80);
  };
  return (hasBelow(word, 0x20) | hasBelow(word ^ inEachByte('"'), 1) |
          hasBelow(word ^ inEachByte('\\'), 1)) != 0;
}

bool needsEscape(char character) {
  return static_cast<unsigned char>(character) < 0x20 || character == '"' || character == '\\';
}

void appendEscaped(std::string& text, char character) {
  constexpr std::string_view kShort = "\"\\\b\f\n\r\t";
  constexpr std::string_view kShortNames = "\"\\bfnrt";
  text += '\\';
  if (const std::size_t known = kShort.find(character); known != std::string_view::npos) {
    text += kShortNames[known];
    return;
  }
  appendHexadecimal(text += "u00", static_cast<std::uint8_t>(character));
}

void appendWithEscapes(std::string& text, std::string_view value) {
  for (auto start = value.begin();;) {
    const auto next = std::find_if(start, value.end(), needsEscape);
    text.append(start, next);
    if (next == value.end()) return;
    appendEscaped(text, *next);
    start = next + 1;
  }
}

}  // namespace

void appendJSON(std::string& text, std::string_view value) {
  if (hasWord(value, mayNeedEscape)) {
    text += '"';
    appendWithEscapes(text, value);
    text += '"';
    return;
  }
  // Most have nothing to escape, and are short: both quotes at once, and the rest in between.
  const std::size_t start = text.size() + 1;
  text.append(value.size() + 2, '"');
  value.copy(text.data() + start, value.size());
}

void appendJSON(std::string& text, bool value) {
  text += value ? "true" : "false";
}

void appendJSON(std::string& text, std::int64_t value) {
  appendNumber(text, value);
}

void appendJSON(std::string& text, std::uint64_t value) {
  appendNumber(text, value);
}

void appendJSON(std::string& text, double value) {
  if (!std::isfinite(value)) {
    text += "null";
  } else if (isWhole(appendNumber(text, value))) {
    text += ".0";
  }
}

void JSONObjectText::beginMember(std::string_view name) {
  if (!isEmpty_) {
    text_ += ',';
  }
  isEmpty_ = false;
  appendJSON(text_, name);
  text_ += ':';
}

}  // namespace velto
