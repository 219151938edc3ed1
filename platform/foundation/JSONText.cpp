// SPDX-License-Identifier: Apache-2.0
#include "platform/foundation/JSONText.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstring>

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

/// A word with this value in each byte.
constexpr std::uint64_t inEachByte(std::uint8_t value) {
  return ~std::uint64_t{0} / 0xff * value;
}

/// Whether one of eight characters needs an escape. Of a difference from a byte to the next smaller
/// one than asked for the highest bit is set, and was not before; borrowing from the next byte can
/// only make a character be looked at in vain.
bool needsEscape(std::uint64_t word) {
  const auto hasBelow = [](std::uint64_t bytes, std::uint8_t limit) {
    return (bytes - inEachByte(limit)) & ~bytes & inEachByte(0x80);
  };
  return (hasBelow(word, 0x20) | hasBelow(word ^ inEachByte('"'), 1) |
          hasBelow(word ^ inEachByte('\\'), 1)) != 0;
}

/// The first character from here on that may need an escape: mostly there is none.
const char* skipPlain(const char* next, const char* end) {
  std::uint64_t word = 0;
  for (; end - next >= std::ptrdiff_t{sizeof word}; next += sizeof word) {
    std::memcpy(&word, next, sizeof word);
    if (needsEscape(word)) break;
  }
  return next;
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
  const char* start = value.data();
  const char* const end = start + value.size();
  for (const char* next = start; (next = skipPlain(next, end)) != end; ++next) {
    if (needsEscape(*next)) {
      text.append(start, next);
      appendEscaped(text, *next);
      start = next + 1;
    }
  }
  text.append(start, end) += '"';
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
