#include "platform/propertylist/PropertyListUnicode.h"

#include <cstdint>

#include <gtest/gtest.h>

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

TEST(PropertyListUnicode, KnowsNoCharacterBeyondTheLast) {
  std::string text = "a";
  EXPECT_FALSE(appendUTF8(text, 0x110000));
  EXPECT_FALSE(appendUTF8(text, 0xFFFFFFFF));
  EXPECT_EQ(text, "a");
}

TEST(PropertyListUnicode, FindsTheFirstByteThatIsNotUTF8) {
  EXPECT_EQ(invalidUTF8Offset("ab\x80"), 2U);
  EXPECT_EQ(invalidUTF8Offset("\xC3\xA9\xC3"), 2U);
  EXPECT_EQ(invalidUTF8Offset("\xC1\xBF"), 0U);
  EXPECT_EQ(invalidUTF8Offset("x\xE0\x9F\xBF"), 1U);
  EXPECT_EQ(invalidUTF8Offset("x\xF0\x8F\xBF\xBF"), 1U);
  EXPECT_EQ(invalidUTF8Offset("\xF5\x80\x80\x80"), 0U);
  EXPECT_EQ(invalidUTF8Offset("\xE4\xB8x"), 0U);
  EXPECT_EQ(invalidUTF8Offset(""), std::nullopt);
}

TEST(PropertyListUnicode, RefusesSurrogatesThatStandAlone) {
  for (const std::u16string& units :
       {std::u16string{0xD800}, std::u16string{0xDC00}, std::u16string{0xD800, u'a'},
        std::u16string{0xDC00, 0xD800}, std::u16string{0xD800, 0xD800, 0xDC00}}) {
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
