// SPDX-License-Identifier: Apache-2.0
#include "platform/foundation/SingleLine.h"

#include "platform/foundation/UTF8.h"

namespace velto {
namespace {

/// Also what only some readers of a log take for the end of a line.
bool isSpaceOrControl(char32_t character) {
  return character <= U' ' || (character >= 0x7f && character <= 0xa0) || character == 0x2028 ||
         character == 0x2029;
}

}  // namespace

std::string singleLine(std::string_view text) {
  std::string line;
  bool isAfterGap = false;
  for (std::size_t offset = 0; offset < text.size();) {
    const std::size_t start = offset;
    const auto character = nextCharacter(text, offset);
    if (character && isSpaceOrControl(*character)) {
      isAfterGap = !line.empty();
      continue;
    }
    line.append(isAfterGap ? " " : "");
    isAfterGap = false;
    if (character) {
      line.append(text.substr(start, offset - start));
    } else {
      line += '?';
      ++offset;
    }
  }
  return line;
}

}  // namespace velto
