#include "platform/propertylist/PropertyListUnicode.h"

#include <algorithm>
#include <cstdint>

#include "platform/propertylist/PropertyListError.h"

namespace velto {

namespace {

constexpr std::string_view kUTF8Mark = "\xEF\xBB\xBF";
constexpr std::string_view kUTF16BigEndianMark = "\xFE\xFF";
constexpr std::string_view kUTF16LittleEndianMark = "\xFF\xFE";

constexpr char32_t kFirstBeyondBMP = 0x10000;
constexpr char32_t kLastCharacter = 0x10FFFF;

bool isLead(char32_t unit) {
  return unit >= 0xD800 && unit < 0xDC00;
}
bool isTrail(char32_t unit) {
  return unit >= 0xDC00 && unit < 0xE000;
}
bool isCharacter(char32_t number) {
  return number <= kLastCharacter && !isLead(number) && !isTrail(number);
}

/// The character at `offset`, which moves behind it; nothing when there is no well-formed one.
std::optional<char32_t> nextCharacter(std::string_view text, std::size_t& offset) {
  const auto byteAt = [&](std::size_t i) { return static_cast<std::uint8_t>(text[i]); };
  const std::uint8_t lead = byteAt(offset);
  if (lead < 0x80) return byteAt(offset++);
  const std::size_t length = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
  if (lead < 0xC2 || lead > 0xF4 || text.size() - offset < length) return std::nullopt;
  char32_t character = lead & (0x7FU >> length);
  for (std::size_t i = 1; i < length; ++i) {
    if ((byteAt(offset + i) & 0xC0) != 0x80) return std::nullopt;
    character = character << 6 | (byteAt(offset + i) & 0x3FU);
  }
  constexpr char32_t kShortest[] = {0x80, 0x800, kFirstBeyondBMP};
  if (character < kShortest[length - 2] || !isCharacter(character)) return std::nullopt;
  offset += length;
  return character;
}

void appendUTF16(std::u16string& units, char32_t character) {
  if (character < kFirstBeyondBMP) {
    units.push_back(static_cast<char16_t>(character));
  } else {
    units.push_back(static_cast<char16_t>(0xD7C0 + (character >> 10)));
    units.push_back(static_cast<char16_t>(0xDC00 + (character & 0x3FF)));
  }
}

std::optional<std::string> decodeUTF16(std::string_view bytes, bool bigEndian, ErrorSlot error) {
  if (bytes.size() % 2 != 0) {
    return propertyListFailure(error, "the UTF-16 text ends within a character");
  }
  std::optional<std::string> text = utf8FromUTF16(utf16FromBytes(bytes, bigEndian));
  return text ? text : propertyListFailure(error, "the text is not valid UTF-16");
}

}  // namespace

std::optional<std::size_t> invalidUTF8Offset(std::string_view text) {
  std::size_t offset = 0;
  while (offset < text.size()) {
    if (!nextCharacter(text, offset)) return offset;
  }
  return std::nullopt;
}

std::optional<std::u16string> utf16FromUTF8(std::string_view text) {
  std::u16string units;
  units.reserve(text.size());
  for (std::size_t offset = 0; offset < text.size();) {
    const std::optional<char32_t> character = nextCharacter(text, offset);
    if (!character) return std::nullopt;
    appendUTF16(units, *character);
  }
  return units;
}

bool isLeadSurrogate(char16_t unit) {
  return isLead(unit);
}

std::optional<std::string> utf8FromUTF16(std::u16string_view units) {
  std::string text;
  text.reserve(units.size());
  for (std::size_t i = 0; i < units.size(); ++i) {
    char32_t character = units[i];
    if (isLead(character) && i + 1 < units.size() && isTrail(units[i + 1])) {
      character = kFirstBeyondBMP + ((character & 0x3FF) << 10) + (units[++i] & 0x3FFU);
    }
    if (!appendUTF8(text, character)) return std::nullopt;
  }
  return text;
}

bool appendUTF8(std::string& text, char32_t character) {
  if (!isCharacter(character)) return false;
  if (character < 0x80) {
    text.push_back(static_cast<char>(character));
    return true;
  }
  const int followers = character < 0x800 ? 1 : character < kFirstBeyondBMP ? 2 : 3;
  // The lead byte starts with as many ones as the character has bytes.
  const char32_t lead = 0xFFU << (7 - followers) & 0xFF;
  text.push_back(static_cast<char>(lead | character >> (6 * followers)));
  for (int i = followers - 1; i >= 0; --i) {
    text.push_back(static_cast<char>(0x80 | (character >> (6 * i) & 0x3F)));
  }
  return true;
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
