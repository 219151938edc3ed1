// SPDX-License-Identifier: Apache-2.0
#include "platform/foundation/UTF8.h"

#include <cstdint>

#include <gtest/gtest.h>

namespace velto {
namespace {

std::string utf8(char32_t character) {
  std::string text;
  EXPECT_TRUE(appendUTF8(text, character)) << std::hex << static_cast<std::uint32_t>(character);
  return text;
}

TEST(UTF8, HasTheBytesThatTheStandardNames) {
  EXPECT_EQ(utf8(0), std::string(1, '\0'));
  EXPECT_EQ(utf8(0x7F), "\x7F");
  EXPECT_EQ(utf8(0x80), "\xC2\x80");
  EXPECT_EQ(utf8(0x7FF), "\xDF\xBF");
  EXPECT_EQ(utf8(0x800), "\xE0\xA0\x80");
  EXPECT_EQ(utf8(0xD7FF), "\xED\x9F\xBF");
  EXPECT_EQ(utf8(0xE000), "\xEE\x80\x80");
  EXPECT_EQ(utf8(0xFFFF), "\xEF\xBF\xBF");
  EXPECT_EQ(utf8(0x10000), "\xF0\x90\x80\x80");
  EXPECT_EQ(utf8(0x10FFFF), "\xF4\x8F\xBF\xBF");
}

TEST(UTF8, PutsAQuestionMarkForEachWrongByte) {
  EXPECT_EQ(withoutInvalidUTF8("caf\xC3\xA9"), "caf\xC3\xA9");
  EXPECT_EQ(withoutInvalidUTF8("caf\xE9.\xFF\xFE"), "caf?.??");
  EXPECT_EQ(withoutInvalidUTF8("\xE2\x82"), "??");
  EXPECT_EQ(withoutInvalidUTF8(""), "");
}

TEST(UTF8, OneByteIsEnoughNotToBeASCII) {
  for (std::size_t length = 0; length < 20; ++length) {
    std::string text(length, '\x7f');
    EXPECT_TRUE(isASCII(text));
    for (char& c : text) {
      c = '\x80';
      EXPECT_FALSE(isASCII(text));
      c = '\0';
    }
    EXPECT_TRUE(isASCII(text));
  }
}

TEST(UTF8, ReadsEveryCharacterThatItWrites) {
  for (char32_t character = 0; character <= 0x10FFFF; ++character) {
    std::string text = "x";
    const bool isSurrogate = character >= 0xD800 && character <= 0xDFFF;
    ASSERT_EQ(appendUTF8(text, character), !isSurrogate);
    ASSERT_EQ(text.size() > 1, !isSurrogate);
    if (!isSurrogate) {
      std::size_t offset = 1;
      ASSERT_EQ(nextCharacter(text, offset), character);
      ASSERT_EQ(offset, text.size());
      ASSERT_FALSE(invalidUTF8Offset(text));
    }
  }
}

TEST(UTF8, ANumberThatIsNotACharacterAppendsNothing) {
  for (const std::uint32_t number :
       {0xD800U, 0xDBFFU, 0xDC00U, 0xDFFFU, 0x110000U, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
    std::string text = "a";
    EXPECT_FALSE(appendUTF8(text, number));
    EXPECT_EQ(text, "a");
  }
}

/// Bytes that no well-formed text holds, at the end of one and within one.
class IllFormed : public testing::TestWithParam<std::string_view> {};

TEST_P(IllFormed, IsFoundWhereItStarts) {
  const std::string bytes(GetParam());
  for (const std::string before : {"", "x", "\xC3\xA9", "\xF0\x9F\x94\x94"}) {
    for (const std::string behind : {"", "x", "\xE4\xB8\xAD"}) {
      const std::string text = before + bytes + behind;
      EXPECT_EQ(invalidUTF8Offset(text), before.size());
      std::size_t offset = before.size();
      EXPECT_FALSE(nextCharacter(text, offset));
      EXPECT_EQ(offset, before.size()) << "it stays where it was";
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Overlong, IllFormed,
                         testing::Values("\xC0\x80", "\xC0\xAF", "\xC1\xBF", "\xE0\x80\x80",
                                         "\xE0\x9F\xBF", "\xF0\x80\x80\x80", "\xF0\x8F\xBF\xBF"));
INSTANTIATE_TEST_SUITE_P(Surrogates, IllFormed,
                         testing::Values("\xED\xA0\x80", "\xED\xAF\xBF", "\xED\xB0\x80",
                                         "\xED\xBF\xBF", "\xED\xA0\xBD\xED\xB4\x94"));
INSTANTIATE_TEST_SUITE_P(AboveTheLast, IllFormed,
                         testing::Values("\xF4\x90\x80\x80", "\xF5\x80\x80\x80", "\xF7\xBF\xBF\xBF",
                                         "\xF8\x88\x80\x80\x80", "\xFC\x84\x80\x80\x80\x80", "\xFE",
                                         "\xFF"));
INSTANTIATE_TEST_SUITE_P(Truncated, IllFormed,
                         testing::Values("\xC2", "\xDF", "\xE0\xA0", "\xE1", "\xEF\xBF", "\xF0",
                                         "\xF0\x90", "\xF0\x90\x80", "\xF4\x8F\xBF"));
INSTANTIATE_TEST_SUITE_P(StrayContinuation, IllFormed, testing::Values("\x80", "\xBF", "\x80\x80"));

TEST(UTF8, TextThatIsWellFormedHasNoSuchOffset) {
  EXPECT_EQ(invalidUTF8Offset(""), std::nullopt);
  EXPECT_EQ(invalidUTF8Offset(std::string_view("a\0b", 3)), std::nullopt);
  EXPECT_EQ(invalidUTF8Offset("\xEF\xBB\xBFmark \xEF\xBF\xBF"), std::nullopt);
}

TEST(UTF8, FindsTheFirstByteThatIsNotUTF8) {
  EXPECT_EQ(invalidUTF8Offset("ab\x80"), 2U);
  EXPECT_EQ(invalidUTF8Offset("\xC3\xA9\xC3"), 2U);
  EXPECT_EQ(invalidUTF8Offset("\xC1\xBF"), 0U);
  EXPECT_EQ(invalidUTF8Offset("x\xE0\x9F\xBF"), 1U);
  EXPECT_EQ(invalidUTF8Offset("x\xF0\x8F\xBF\xBF"), 1U);
  EXPECT_EQ(invalidUTF8Offset("\xF5\x80\x80\x80"), 0U);
  EXPECT_EQ(invalidUTF8Offset("\xE4\xB8x"), 0U);
  EXPECT_EQ(invalidUTF8Offset("a\xC3\xA9\xED\xA0\x80\x80"), 3U);
}

}  // namespace
}  // namespace velto
