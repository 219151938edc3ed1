// SPDX-License-Identifier: Apache-2.0
#include "platform/foundation/JSONText.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

#include "platform/foundation/Hexadecimal.h"

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

/// By character.
constexpr std::array<bool, 256> kNeedsEscape = [] {
  std::array<bool, 256> table{};
  std::fill_n(table.begin(), 0x20, true);
  table['"'] = true;
  table['\\'] = true;
  return table;
}();

bool needsEscape(char character) {
  return kNeedsEscape[static_cast<unsigned char>(character)];
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

}  // namespace

void appendJSON(std::string& text, std::string_view value) {
  text += '"';
  auto start = value.begin();
  for (auto next = start; next != value.end(); ++next) {
    if (needsEscape(*next)) {
      text.append(start, next);
      appendEscaped(text, *next);
      start = next + 1;
    }
  }
  text.append(start, value.end()) += '"';
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
  } else if (appendNumber(text, value).find_first_of(".e") == std::string_view::npos) {
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
