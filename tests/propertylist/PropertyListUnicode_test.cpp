// SPDX-License-Identifier: Apache-2.0
#include "platform/propertylist/PropertyListUnicode.h"

#include <cstdint>

#include <gtest/gtest.h>

#include "platform/foundation/UTF8.h"

namespace velto {
namespace {

TEST(PropertyListUnicode, ConvertsEveryCharacterBothWays) {
  for (std::uint32_t character = 0; character <= 0x10FFFF; ++character) {
    std::string text;
    const bool isSurrogate = character >= 0xD800 && character <= 0xDFFF;
    ASSERT_EQ(appendUTF8(text, character), !isSurrogate) << character;
    const auto units = utf16FromUTF8(text);
    ASSERT_TRUE(units) << character;
    ASSERT_EQ(units->size(), isSurrogate ? 0U : character < 0x10000 ? 1U : 2U) << character;
    ASSERT_EQ(utf8FromUTF16(*units), text) << character;
    ASSERT_FALSE(invalidUTF8Offset(text)) << character;
  }
}

TEST(PropertyListUnicode, WritesThePairsThatTheStandardNames) {
  EXPECT_EQ(utf16FromUTF8("\xF0\x90\x80\x80"), (std::u16string{0xD800, 0xDC00}));
  EXPECT_EQ(utf16FromUTF8("\xF0\x9F\x94\x94"), (std::u16string{0xD83D, 0xDD14}));
  EXPECT_EQ(utf16FromUTF8("\xF4\x8F\xBF\xBF"), (std::u16string{0xDBFF, 0xDFFF}));
  EXPECT_EQ(utf8FromUTF16(std::u16string{u'a', 0xD83D, 0xDD14, 0xFFFF}),
            "a\xF0\x9F\x94\x94\xEF\xBF\xBF");
}

TEST(PropertyListUnicode, RefusesWhatIsNotUTF8) {
  for (const char* text : {"\x80", "a\xC3", "\xC0\xAF", "\xED\xA0\x80", "\xF4\x90\x80\x80"}) {
    EXPECT_FALSE(utf16FromUTF8(text)) << text;
  }
}

TEST(PropertyListUnicode, RefusesSurrogatesThatStandAlone) {
  for (const std::u16string& units :
       {std::u16string{0xD800}, std::u16string{0xDC00}, std::u16string{0xD800, u'a'},
        std::u16string{0xDC00, 0xD800}, std::u16string{0xD800, 0xD800, 0xDC00},
        std::u16string{u'a', 0xDBFF}, std::u16string{0xD800, 0xDC00, 0xDFFF}}) {
    EXPECT_FALSE(utf8FromUTF16(units));
  }
}

TEST(PropertyListUnicode, CountsLinesFromOne) {
  EXPECT_EQ(atLine("a\nb\nc", 0), " at line 1");
  EXPECT_EQ(atLine("a\nb\nc", 2), " at line 2");
  EXPECT_EQ(atLine("a\nb\nc", 99), " at line 3");
}

}  // namespace
}  // namespace velto
