// SPDX-License-Identifier: Apache-2.0
#include "tools/text/Width.h"

#include <clocale>
#include <cwchar>

#include "platform/foundation/UTF8.h"

namespace velto {
namespace {

TEST(Width, countsColumns) {
  EXPECT_EQ(displayWidth("abc"), 3U);
  EXPECT_EQ(displayWidth("日本語"), 6U);
  EXPECT_EQ(displayWidth("e\u0301"), 1U);             // an accent of its own
  EXPECT_EQ(displayWidth("\u1112\u1161\u11ab"), 2U);  // a syllable in its letters
  EXPECT_EQ(displayWidth("😀"), 2U);
  EXPECT_EQ(displayWidth("a\u200db"), 2U);
  EXPECT_EQ(displayWidth(""), 0U);
}

TEST(Width, cutsWhatDoesNotFit) {
  EXPECT_EQ(fitted("alert", 5, "…"), "alert");
  EXPECT_EQ(fitted("alerts", 5, "…"), "aler…");
  EXPECT_EQ(fitted("日本語", 5, "…"), "日本…");
  EXPECT_EQ(fitted("日本語", 4, "…"), "日…");  // half a character is none
  EXPECT_EQ(fitted("e\u0301e\u0301e\u0301", 2, "…"), "e\u0301…");
  EXPECT_EQ(fitted("abcdef", 5, "..."), "ab...");
  EXPECT_EQ(fitted("abcdef", 2, "..."), "ab");
  EXPECT_EQ(fitted("abc", 0, "…"), "");
}

TEST(Width, fillsUp) {
  EXPECT_EQ(padded("日", 4), "日  ");
  EXPECT_EQ(paddedBefore("日", 4), "  日");
  EXPECT_EQ(padded("abc", 2), "abc");
}

/// Of the characters that both know, the C library has the same widths. It has none for a few that
/// are newer, and takes soft hyphens and some signs that stand in Arabic numbers for visible.
TEST(Width, agreesWithTheCLibrary) {
  ASSERT_NE(std::setlocale(LC_CTYPE, "C.UTF-8"), nullptr);
  std::size_t compared = 0;
  std::size_t different = 0;
  for (char32_t character = 0x20; character < 0x30000; ++character) {
    const int width = wcwidth(static_cast<wchar_t>(character));
    std::string text;
    if (width < 0 || !appendUTF8(text, character)) continue;
    ++compared;
    if (displayWidth(text) != static_cast<std::size_t>(width)) ++different;
  }
  EXPECT_GT(compared, 100'000U);
  EXPECT_LT(different, 100U);
}

}  // namespace
}  // namespace velto
