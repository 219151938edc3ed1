// SPDX-License-Identifier: Apache-2.0
#include "platform/propertylist/PropertyListUnicode.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include <unicode/utf16.h>

#include "platform/foundation/UTF8.h"
#include "platform/propertylist/PropertyListError.h"

namespace velto {

namespace {

constexpr std::string_view kUTF8Mark = "\xEF\xBB\xBF";
constexpr std::string_view kUTF16BigEndianMark = "\xFE\xFF";
constexpr std::string_view kUTF16LittleEndianMark = "\xFF\xFE";

std::optional<std::string> decodeUTF16(std::string_view bytes, bool bigEndian, ErrorSlot error) {
  if (bytes.size() % 2 != 0) {
    return propertyListFailure(error, "the UTF-16 text ends within a character");
  }
  std::optional<std::string> text = utf8FromUTF16(utf16FromBytes(bytes, bigEndian));
  return text ? text : propertyListFailure(error, "the text is not valid UTF-16");
}

}  // namespace

std::optional<std::u16string> utf16FromUTF8(std::string_view text) {
  std::u16string units;
  units.reserve(text.size());
  for (std::size_t offset = 0; offset < text.size();) {
    const std::optional<char32_t> character = nextCharacter(text, offset);
    if (!character) return std::nullopt;
    std::array<char16_t, U16_MAX_LENGTH> encoded;
    std::size_t size = 0;
    U16_APPEND_UNSAFE(encoded, size, *character);
    units.append(encoded.data(), size);
  }
  return units;
}

std::optional<std::string> utf8FromUTF16(std::u16string_view units) {
  std::string text;
  text.reserve(units.size());
  for (std::size_t i = 0; i < units.size(); ++i) {
    char32_t character = units[i];
    if (U16_IS_LEAD(character) && i + 1 < units.size() && U16_IS_TRAIL(units[i + 1])) {
      character = static_cast<char32_t>(U16_GET_SUPPLEMENTARY(character, units[++i]));
    }
    // Half of a pair is left as it is, and has no UTF-8.
    if (!appendUTF8(text, character)) return std::nullopt;
  }
  return text;
}

std::u16string utf16FromBytes(std::string_view bytes, bool bigEndian) {
  std::u16string units(bytes.size() / 2, u'\0');
  for (std::size_t i = 0; i < units.size(); ++i) {
    const auto first = static_cast<std::uint8_t>(bytes[2 * i]);
    const auto second = static_cast<std::uint8_t>(bytes[2 * i + 1]);
    units[i] = static_cast<char16_t>(bigEndian ? first << 8 | second : second << 8 | first);
  }
  return units;
}

std::optional<std::string> decodeText(std::string_view bytes, ErrorSlot error) {
  if (bytes.starts_with(kUTF16BigEndianMark)) return decodeUTF16(bytes.substr(2), true, error);
  if (bytes.starts_with(kUTF16LittleEndianMark)) return decodeUTF16(bytes.substr(2), false, error);
  if (bytes.starts_with(kUTF8Mark)) bytes.remove_prefix(kUTF8Mark.size());
  if (const auto offset = invalidUTF8Offset(bytes)) {
    return propertyListFailure(error, "the text is not valid UTF-8" + atLine(bytes, *offset));
  }
  return std::string(bytes);
}

std::string atLine(std::string_view text, std::size_t offset) {
  const std::string_view before = text.substr(0, offset);
  return " at line " + std::to_string(1 + std::count(before.begin(), before.end(), '\n'));
}

}  // namespace velto
