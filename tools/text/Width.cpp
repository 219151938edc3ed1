// SPDX-License-Identifier: Apache-2.0
#include "tools/text/Width.h"

#include <algorithm>
#include <cstdint>

#include <unicode/uchar.h>

#include "platform/foundation/UTF8.h"

namespace velto {
namespace {

/// Vowels and final consonants of Hangul, which join the consonant before them.
bool isHangulTail(UChar32 character) {
  return (character >= 0x1160 && character <= 0x11FF) ||
         (character >= 0xD7B0 && character <= 0xD7FF);
}

std::size_t columns(UChar32 character) {
  if (character < 0x300) return 1;
  constexpr std::uint32_t kJoining = U_GC_MN_MASK | U_GC_ME_MASK | U_GC_CF_MASK;
  if ((U_GET_GC_MASK(character) & kJoining) != 0 || isHangulTail(character)) return 0;
  const int width = u_getIntPropertyValue(character, UCHAR_EAST_ASIAN_WIDTH);
  return width == U_EA_WIDE || width == U_EA_FULLWIDTH ? 2 : 1;
}

/// The width of the character at `at`, which moves behind it. A stray byte is a column.
std::size_t nextWidth(std::string_view text, std::size_t& at) {
  const auto character = nextCharacter(text, at);
  if (character) return columns(static_cast<UChar32>(*character));
  ++at;
  return 1;
}

}  // namespace

std::size_t displayWidth(std::string_view text) {
  std::size_t width = 0;
  for (std::size_t at = 0; at < text.size();) {
    width += nextWidth(text, at);
  }
  return width;
}

std::string fitted(std::string_view text, std::size_t width, std::string_view ellipsis) {
  const std::string_view end = displayWidth(ellipsis) <= width ? ellipsis : "";
  const std::size_t room = width - displayWidth(end);
  std::size_t used = 0;
  std::size_t kept = 0;  // of the text, were the ellipsis to follow
  for (std::size_t at = 0; at < text.size();) {
    used += nextWidth(text, at);
    if (used <= room) kept = at;
    if (used > width) {
      return std::string(text.substr(0, kept)).append(end);
    }
  }
  return std::string(text);
}

std::string padded(std::string text, std::size_t width) {
  const std::size_t used = displayWidth(text);
  if (used < width) text.append(width - used, ' ');
  return text;
}

std::string paddedBefore(const std::string& text, std::size_t width) {
  const std::size_t used = displayWidth(text);
  return used < width ? std::string(width - used, ' ') + text : text;
}

}  // namespace velto
