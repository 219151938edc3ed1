// SPDX-License-Identifier: Apache-2.0
// What becomes of others' texts, and the small texts of our own.

#include <gtest/gtest.h>

#include "tools/text/Bar.h"
#include "tools/text/JSONProblem.h"
#include "tools/text/LanguageTag.h"
#include "tools/text/Nearest.h"
#include "tools/text/Printable.h"
#include "tools/text/SizeText.h"
#include "tools/text/TimeText.h"

namespace velto {
namespace {

using alerts::Date;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(Printable, escapesWhatMovesTheCursorOrColours) {
  EXPECT_EQ(printable("a\x1b[31mb"), "a\\x1b[31mb");
  EXPECT_EQ(printable("a\r\n\tb\x7f"), "a\\r\\n\\tb\\x7f");
  EXPECT_EQ(printable("\u009b31m"), "\\u009b31m");  // the same sequence in one character
  EXPECT_EQ(printable("\u202eabc\u2066"), "\\u202eabc\\u2066");
  EXPECT_EQ(printable("\u2028"), "\\u2028");
  EXPECT_EQ(printable("\U000e0041"), "\\U000e0041");
  EXPECT_EQ(printable(std::string_view("a\0b", 3)), "a\\x00b");
  EXPECT_EQ(printable("\xff\xc3"), "\\xff\\xc3");
}

TEST(Printable, leavesTextsOfAllLanguagesAlone) {
  for (const auto* text : {"Über 90 %", "日本語", "می\u200cخواهم", "👩\u200d👧", "e\u0301"}) {
    EXPECT_EQ(printable(text), text);
  }
}

TEST(Printable, keepsLinesWhereLinesAreWanted) {
  EXPECT_EQ(printableLines("a\n\tb\x1b"), "a\n    b\\x1b");
}

/// Nothing that a terminal acts on is left, whatever the bytes.
TEST(Printable, leavesNoControlsInAnything) {
  for (unsigned first = 0; first < 256; ++first) {
    for (unsigned second = 0; second < 256; ++second) {
      const std::string bytes = {static_cast<char>(first), static_cast<char>(second)};
      for (const char character : printable(bytes)) {
        EXPECT_FALSE(static_cast<unsigned char>(character) < 0x20 || character == 0x7f);
      }
    }
  }
}

TEST(Printable, canDoWithASCII) {
  EXPECT_EQ(asciiOnly("Über …"), "\\u00dcber \\u2026");
}

TEST(Nearest, findsWhatWasMeant) {
  const std::vector<std::string> verbs = {"list", "show", "status", "stats", "read", "resolve"};
  EXPECT_THAT(nearestNames("lsit", verbs), ElementsAre("list"));
  EXPECT_THAT(nearestNames("stat", verbs), ElementsAre("stats", "status"));
  EXPECT_THAT(nearestNames("LIST", verbs), ElementsAre("list"));
  EXPECT_THAT(nearestNames("xyzzy", verbs), IsEmpty());
  EXPECT_THAT(nearestNames("", verbs), IsEmpty());
  EXPECT_THAT(nearestNames(std::string(100'000, 'x'), verbs), IsEmpty());
  EXPECT_EQ(suggestion("lsit", verbs), "did you mean list?");
}

TEST(JSONProblem, namesThePlace) {
  EXPECT_EQ(jsonProblem("{bad"), "a name in quotes expected at character 2");
  EXPECT_EQ(jsonProblem(R"({"a":1 "b":2})"), "',' or '}' expected at character 8");
  EXPECT_EQ(jsonProblem("[1 2]"), "',' or ']' expected at character 4");
  EXPECT_EQ(jsonProblem(R"({"a" 1})"), "':' expected at character 6");
  EXPECT_EQ(jsonProblem(R"({"a": })"), "a value expected at character 7");
  EXPECT_EQ(jsonProblem(R"({"a": "b})"), "'\"' expected at character 10");
  EXPECT_EQ(jsonProblem("{} x"), "the end expected at character 4");
  EXPECT_EQ(jsonProblem("\"\x01\""), "a character or its escape expected at character 2");
}

TEST(LanguageTag, knowsLanguages) {
  EXPECT_EQ(languageTag("de"), "de");
  EXPECT_EQ(languageTag("de_AT"), "de-AT");
  EXPECT_EQ(languageTag("zh-hant-tw"), "zh-Hant-TW");
  for (const auto* text : {"", "english", "xx_!! 7", "de-XX", "qq", "de DE", "d\xff"}) {
    EXPECT_EQ(languageTag(text), std::nullopt) << text;
  }
  EXPECT_EQ(languageName("de-AT", "en"), "German (Austria)");
  EXPECT_EQ(languageName("de", "de"), "Deutsch");
  EXPECT_EQ(nearestLanguageTag("english"), "en");
  EXPECT_EQ(nearestLanguageTag("Deutsch"), "de");
  EXPECT_EQ(nearestLanguageTag("de-XX"), "de");
  EXPECT_EQ(nearestLanguageTag("%%%%%%%%%%%%"), std::nullopt);
}

TEST(TimeText, writesDates) {
  EXPECT_EQ(rfc3339(Date::fromUnixSeconds(1795183200.25)), "2026-11-20T14:00:00.250000Z");
  EXPECT_EQ(rfc3339(Date::fromUnixSeconds(-0.25)), "1969-12-31T23:59:59.750000Z");
  EXPECT_EQ(rfc3339(Date(1e300)), std::nullopt);
  EXPECT_EQ(rfc3339(Date(-1e300)), std::nullopt);
  EXPECT_EQ(clockText(Date::fromUnixSeconds(1795183200), true), "2026-11-20 14:00:00 UTC");
}

TEST(TimeText, tellsAges) {
  const Date now = Date::fromUnixSeconds(1795183200);
  const auto age = [now](double seconds) {
    return relativeText(Date(now.secondsSince2001() - seconds), now);
  };
  EXPECT_EQ(age(0), "now");
  EXPECT_EQ(age(59), "59 s ago");
  EXPECT_EQ(age(60), "1 min ago");
  EXPECT_EQ(age(7200), "2 h ago");
  EXPECT_EQ(age(2 * 86400), "2 days ago");
  EXPECT_EQ(age(70 * 86400), "2 months ago");
  EXPECT_EQ(age(1000 * 86400), "2 years ago");
  EXPECT_EQ(age(-7200), "in 2 h");
  EXPECT_EQ(age(1e300), "for ever ago");
}

TEST(SizeText, tellsSizes) {
  EXPECT_EQ(sizeText(0), "0 B");
  EXPECT_EQ(sizeText(1023), "1023 B");
  EXPECT_EQ(sizeText(1536), "1.5 KiB");
  EXPECT_EQ(sizeText(std::int64_t{5} << 40), "5.0 TiB");
}

TEST(Bar, isAsLongAsItsShare) {
  EXPECT_EQ(bar(0, 8, true), "");
  EXPECT_EQ(bar(1, 2, true), "██");
  EXPECT_EQ(bar(0.5, 3, true), "█▌");
  EXPECT_EQ(bar(1e-9, 8, true), "▏");  // something is not nothing
  EXPECT_EQ(bar(0.5, 8, false), "####");
  EXPECT_EQ(bar(1e-9, 8, false), "#");
  EXPECT_EQ(bar(7, 2, false), "##");
}

}  // namespace
}  // namespace velto
