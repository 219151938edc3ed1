// SPDX-License-Identifier: Apache-2.0
#include "tools/text/Printable.h"

#include <cstddef>
#include <cstdint>
#include <optional>

#include <fmt/format.h>
#include <unicode/uchar.h>

#include "platform/foundation/UTF8.h"

namespace velto {
namespace {

constexpr char32_t kZeroWidthNonJoiner = 0x200C;
constexpr char32_t kZeroWidthJoiner = 0x200D;
constexpr char32_t kDelete = 0x7F;

/// Controls, separators of lines and paragraphs, and what changes the direction of writing or shows
/// nothing at all. The joiners are part of how some languages, and emoji, are written.
bool isHarmful(char32_t character) {
  if (character < 0x20 || character == kDelete) return true;
  if (character < 0x7F || character == kZeroWidthJoiner || character == kZeroWidthNonJoiner) {
    return false;
  }
  constexpr std::uint32_t kKinds = U_GC_CC_MASK | U_GC_CF_MASK | U_GC_ZL_MASK | U_GC_ZP_MASK;
  return (U_GET_GC_MASK(static_cast<UChar32>(character)) & kKinds) != 0;
}

std::string escaped(char32_t character) {
  switch (character) {
    case '\n':
      return "\\n";
    case '\r':
      return "\\r";
    case '\t':
      return "\\t";
    default:
      break;
  }
  const auto number = static_cast<std::uint32_t>(character);
  if (number < 0x80) return fmt::format("\\x{:02x}", number);
  return number < 0x10000 ? fmt::format("\\u{:04x}", number) : fmt::format("\\U{:08x}", number);
}

/// The text with `replace` having the last word on each character: what it returns, or the
/// character itself.
template <typename Replace>
std::string replaced(std::string_view text, Replace replace) {
  std::string result;
  result.reserve(text.size());
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t start = at;
    const auto character = nextCharacter(text, at);
    if (!character) {
      result += fmt::format("\\x{:02x}", static_cast<unsigned char>(text[at++]));
    } else if (const auto other = replace(*character)) {
      result += *other;
    } else {
      result.append(text, start, at - start);
    }
  }
  return result;
}

}  // namespace

std::string printable(std::string_view text) {
  return replaced(text, [](char32_t character) {
    return isHarmful(character) ? std::optional(escaped(character)) : std::nullopt;
  });
}

std::string printableLines(std::string_view text) {
  return replaced(text, [](char32_t character) -> std::optional<std::string> {
    if (character == '\n' || !isHarmful(character)) return std::nullopt;
    return character == '\t' ? "    " : escaped(character);
  });
}

std::string printableJSON(std::string_view json) {
  return replaced(json, [](char32_t character) -> std::optional<std::string> {
    // JSON has the others escaped already, but for the line breaks between its values.
    if (character < kDelete || !isHarmful(character)) return std::nullopt;
    const auto number = static_cast<std::uint32_t>(character);
    if (number < 0x10000) return fmt::format("\\u{:04x}", number);
    const std::uint32_t rest = number - 0x10000;
    return fmt::format("\\u{:04x}\\u{:04x}", 0xd800 + (rest >> 10), 0xdc00 + (rest & 0x3ff));
  });
}

std::string asciiOnly(std::string_view text) {
  return replaced(text, [](char32_t character) {
    return character < 0x80 ? std::nullopt : std::optional(escaped(character));
  });
}

}  // namespace velto
