// SPDX-License-Identifier: Apache-2.0
#include "platform/foundation/SingleLine.h"

#include <utility>

#include <gtest/gtest.h>

namespace velto {
namespace {

TEST(SingleLine, HasNoBreakAndNoControlCharacter) {
  const std::pair<std::string, std::string> rows[] = {
      {"", ""},
      {"one line", "one line"},
      {" \r\n two\r\n\r\nlines\n", "two lines"},
      {std::string("a\0b\x1b[31mc\x7f"
                   "d",
                   12),
       "a b [31mc d"},
      {"a\xC2\x9B"
       "b\xE2\x80\xA8"
       "c\xE2\x80\xA9",
       "a b c"},
      {"\xC3\xA9t\xC3\xA9 \xE8\xAD\xA6", "\xC3\xA9t\xC3\xA9 \xE8\xAD\xA6"},
      {"\xFFx\xC3\n\xED\xA0\x80", "?x? ???"},
      {"\n\t ", ""},
  };
  for (const auto& [text, line] : rows) {
    EXPECT_EQ(singleLine(text), line);
  }
}

}  // namespace
}  // namespace velto
