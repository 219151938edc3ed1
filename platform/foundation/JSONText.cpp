// SPDX-License-Identifier: Apache-2.0
#include "platform/foundation/JSONText.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstring>

#include "platform/foundation/Hexadecimal.h"
#include "platform/foundation/UTF8.h"

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

/// A whole number that is not negative, nor so large that its neighbours could not be told from it:
/// the digits of an integer, which are found sooner, are those of the real.
bool isExactInteger(double value) {
  constexpr double kLargest = 1LL << 53;
  return !std::signbit(value) && value <= kLargest &&
         value == static_cast<double>(static_cast<std::int64_t>(value));
}

/// A word with this value in each byte.
constexpr std::uint64_t inEachByte(std::uint8_t value) {
  return ~std::uint64_t{0} / 0xff * value;
}

/// All bytes of a text of one to eight bytes, some of them twice.
std::uint64_t wordOf(std::string_view bytes) {
  if (bytes.size() >= 4) {
    std::uint32_t first = 0;
    std::uint32_t last = 0;
    std::memcpy(&first, bytes.data(), sizeof first);
    std::memcpy(&last, bytes.data() + bytes.size() - sizeof last, sizeof last);
    return std::uint64_t{first} << 32 | last;
  }
  const auto byte = [&](std::size_t index) {
    return std::uint64_t{static_cast<unsigned char>(bytes[index])};
  };
  const std::uint64_t all = byte(0) << 16 | byte(bytes.size() / 2) << 8 | byte(bytes.size() - 1);
  return all << 40 | all << 16 | byte(0) << 8 | byte(0);
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

bool isNotPlainASCII(std::uint64_t word) {
  return mayNeedEscape(word) || (word & inEachByte(0x80)) != 0;
}

/// Whether the test holds for a word of the text; together they have each byte once or more often.
template <bool (*kTest)(std::uint64_t)>
bool holdsForAny(std::string_view text) {
  constexpr std::size_t kSize = sizeof(std::uint64_t);
  if (text.size() < kSize) return !text.empty() && kTest(wordOf(text));
  std::uint64_t word = 0;
  for (std::size_t next = 0; next < text.size(); next += kSize) {
    std::memcpy(&word, text.data() + std::min(next, text.size() - kSize), kSize);
    if (kTest(word)) return true;
  }
  return false;
}

void appendPlain(std::string& text, std::string_view value) {
  text += '"';
  text += value;
  text += '"';
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
  if (!holdsForAny<mayNeedEscape>(value)) return appendPlain(text, value);
  text += '"';
  appendWithEscapes(text, value);
  text += '"';
}

bool appendASCIIJSON(std::string& text, std::string_view value) {
  if (!holdsForAny<isNotPlainASCII>(value)) {
    appendPlain(text, value);
    return true;
  }
  if (!isASCII(value)) return false;
  appendJSON(text, value);
  return true;
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
  if (isExactInteger(value)) {
    appendNumber(text, static_cast<std::int64_t>(value));
    text += ".0";
  } else if (!std::isfinite(value)) {
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
