// SPDX-License-Identifier: Apache-2.0
#include "platform/foundation/UTF8.h"

#include <array>
#include <cstdint>
#include <cstring>

#include <unicode/utf8.h>

namespace velto {

std::optional<char32_t> nextCharacter(std::string_view text, std::size_t& offset) {
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
  std::size_t end = offset;
  UChar32 character = U_SENTINEL;
  U8_NEXT(bytes, end, text.size(), character);
  if (character < 0) {
    return std::nullopt;
  }
  offset = end;
  return static_cast<char32_t>(character);
}

std::optional<std::size_t> invalidUTF8Offset(std::string_view text) {
  std::size_t offset = 0;
  while (offset < text.size()) {
    if (!nextCharacter(text, offset)) {
      return offset;
    }
  }
  return std::nullopt;
}

/// Eight bytes at a time: most texts are, and are looked at to their end.
bool isASCII(std::string_view text) {
  std::uint64_t all = 0;
  while (text.size() >= sizeof all) {
    std::uint64_t word = 0;
    std::memcpy(&word, text.data(), sizeof word);
    all |= word;
    text.remove_prefix(sizeof word);
  }
  for (const char c : text) {
    all |= static_cast<unsigned char>(c);
  }
  return (all & 0x8080808080808080) == 0;
}

std::string withoutInvalidUTF8(std::string text) {
  std::size_t checked = 0;
  while (const auto invalid = invalidUTF8Offset(std::string_view(text).substr(checked))) {
    checked += *invalid;
    text[checked] = '?';
  }
  return text;
}

bool appendUTF8(std::string& text, char32_t character) {
  std::array<std::uint8_t, U8_MAX_LENGTH> bytes;
  std::size_t size = 0;
  bool isInvalid = false;
  U8_APPEND(bytes, size, bytes.size(), character, isInvalid);
  text.append(reinterpret_cast<const char*>(bytes.data()), size);
  return !isInvalid;
}

}  // namespace velto
