// SPDX-License-Identifier: Apache-2.0
#include "platform/json/JSONCursor.h"

#include <array>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/json/JSONTree.h"

namespace velto {
namespace {

std::string repeated(std::string_view text, std::size_t times) {
  std::string result;
  for (std::size_t i = 0; i < times; ++i) {
    result.append(text);
  }
  return result;
}

TEST(JSONCursor, readsMembersInTheirOrder) {
  const std::string_view text =
      R"( {"number" : -5, "skipped":[1,{"a":"]\\\""}], "\u00e9\n":"\ud83d\ude00", "last":[ ] } )";
  ASSERT_TRUE(isJSON(text));
  JSONCursor cursor(text);
  cursor.enter();
  EXPECT_EQ(cursor.nextMember(), "number");
  EXPECT_EQ(std::get<std::int64_t>(cursor.readNumber()), -5);
  EXPECT_EQ(cursor.nextMember(), "skipped");
  cursor.skip();
  EXPECT_EQ(cursor.nextMember(), "é\n");
  EXPECT_EQ(cursor.takeString(), "\U0001f600");
  EXPECT_EQ(cursor.nextMember(), "last");
  cursor.enter();
  EXPECT_FALSE(cursor.nextElement());
  EXPECT_EQ(cursor.nextMember(), std::nullopt);
}

TEST(JSONCursor, leavesAContainerFromWhereverItIs) {
  const std::string_view text = R"([[1, {"a": "x]", "b": 2}, 3], "next"])";
  for (int steps = 0; steps < 5; ++steps) {
    JSONCursor cursor(text);
    cursor.enter();
    cursor.nextElement();
    cursor.enter();
    if (steps > 0) cursor.nextElement();
    if (steps > 1) cursor.skip();
    if (steps > 2) cursor.nextElement();
    if (steps > 3) cursor.skip();
    cursor.leave();
    ASSERT_TRUE(cursor.nextElement());
    EXPECT_EQ(cursor.readString(), "next") << steps;
  }
}

class SameAsBoost : public testing::TestWithParam<std::string> {};

TEST_P(SameAsBoost, reads) {
  EXPECT_TRUE(readsAsBoostDoes(GetParam())) << isJSON(GetParam());
}

INSTANTIATE_TEST_SUITE_P(
    numbers, SameAsBoost,
    testing::Values("0", "-0", "-0.0", "0e0", "0e999", "-1", "01", "-", "--1", "+1", "1.", ".5",
                    "1e", "1e+", "1.5e-3", "1E+3", "9223372036854775807", "9223372036854775808",
                    "-9223372036854775808", "-9223372036854775809", "18446744073709551615",
                    "18446744073709551616", "1e308", "1e309", "-1e309", "1e400", "1e-400",
                    "-1e-400", "4.9e-324", "2e-324", "1.7976931348623157e308",
                    "1.7976931348623159e308", "0.1", "1e2147483647", "1e2147483648",
                    "1e-2147483648", "1e99999999999999999999", "1e-99999999999999999999",
                    "0e2147483648", std::string(400, '9'), "0." + std::string(400, '0') + "1",
                    "0." + std::string(400, '0') + "1e500", std::string(400, '1') + "e-300",
                    "9007199254740993", "9007199254740993.0", "123456789.123456789e-5", "0x1",
                    "1 2", "Infinity", "NaN"));

INSTANTIATE_TEST_SUITE_P(texts, SameAsBoost,
                         testing::Values(R"("")", R"("\"\\\/\b\f\n\r\t")", R"("\u0000")",
                                         R"("\u00e9\uFFFF")", R"("\ud83d\ude00")", R"("\ud83d")",
                                         R"("\ude00")", R"("\ud83d\u0041")", R"("\ud83d\ud83d")",
                                         R"("\ud83dx")", R"("\u12")", R"("\u12g4")", R"("\x")",
                                         R"("\)", "\"\x7f\"", "\"\x1f\"", "\"\n\"",
                                         "\"é€\U0001f600\"", "\"\xff\"", "\"\xc0\x80\"", "\"\xc3\"",
                                         "\"\xe2\x82\"", "\"\xed\xa0\x80\"", "\"\xf4\x90\x80\x80\"",
                                         "\"\xf0\x80\x80\x80\"", "\"", "'a'", "\"a"));

INSTANTIATE_TEST_SUITE_P(
    structures, SameAsBoost,
    testing::Values("", " ", "null", "nul", "nulll", "true", "falsey", "[", "]", "[]", "[ ]", "[,]",
                    "[1,]", "[1 2]", "[1]]", "{}", "{ }", "{,}", R"({"a"})", R"({"a":})",
                    R"({"a":1,})", R"({"a":1 "b":2})", R"({"a" : 1 , "b":[]})", R"({a:1})",
                    R"({"a":1,"b":2,"a":3})", R"({"a":{"a":1},"\u0061":[]})", "{1:2}", "[}", "{]",
                    "\xef\xbb\xbf{}", "{} x", "{}{}", "\f1", "\v1", "// c\n1", "[1]//",
                    std::string("1\0", 2), std::string("\0", 1),
                    repeated("[", 64) + repeated("]", 64), repeated("[", 65) + repeated("]", 65),
                    repeated("[", 100000), repeated(R"({"a":)", 64) + "1" + repeated("}", 64),
                    repeated(R"({"a":)", 65) + "1" + repeated("}", 65)));

/// Pieces of which texts are made that are JSON now and then.
constexpr std::array<std::string_view, 30> kPieces{
    "{", "}",    "[",    "]",   ",",    ":",    "\"",   "\"a\"", "\"b\":", "1",
    "-", ".5",   "e9",   "e-9", "E400", "0",    "\\u",  "d83d",  "\\",     "n",
    " ", "null", "true", "\n",  "\xc3", "\xa9", "\xe2", "\x82",  "\xac",   "99999999999"};

TEST(JSONCursor, readsRandomTextsAsBoostDoes) {
  std::mt19937 random(11);
  int accepted = 0;
  for (int round = 0; round < 200000; ++round) {
    std::string text;
    for (std::size_t left = random() % 8; left > 0; --left) {
      text.append(kPieces[random() % kPieces.size()]);
    }
    ASSERT_TRUE(readsAsBoostDoes(text)) << text;
    accepted += isJSON(text) ? 1 : 0;
  }
  EXPECT_GT(accepted, 1000);
}

/// A text of JSON, and the same with a few bytes changed.
std::string someJSON(std::mt19937& random, int depth) {
  switch (random() % (depth > 0 ? 7 : 5)) {
    case 0:
      return std::to_string(static_cast<std::int64_t>(random()) - (1 << 30));
    case 1:
      return std::to_string(static_cast<double>(random()) / 7) + "e" +
             std::to_string(static_cast<int>(random() % 700) - 350);
    case 2:
      return R"("aé\n\u20ac")";
    case 3:
      return "null";
    case 4:
      return "true";
    default:
      break;
  }
  const bool isObject = random() % 2 == 0;
  std::string text = isObject ? "{" : "[";
  for (std::size_t left = random() % 5; left > 0; --left) {
    if (text.size() > 1) text += " , ";
    if (isObject) text += "\"" + std::to_string(random() % 4) + "\" :";
    text += someJSON(random, depth - 1);
  }
  return text + (isObject ? "}" : "]");
}

TEST(JSONCursor, readsJSONAndWhatIsNearlyJSONAsBoostDoes) {
  std::mt19937 random(12);
  for (int round = 0; round < 20000; ++round) {
    std::string text = someJSON(random, 5);
    ASSERT_TRUE(readsAsBoostDoes(text)) << text;
    text[random() % text.size()] = static_cast<char>(random());
    ASSERT_TRUE(readsAsBoostDoes(text)) << text;
  }
}

}  // namespace
}  // namespace velto
