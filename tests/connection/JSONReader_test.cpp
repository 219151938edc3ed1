// SPDX-License-Identifier: Apache-2.0
#include "platform/connection/JSONReader.h"

#include <cstdio>
#include <cstdlib>
#include <limits>
#include <random>
#include <string>

#include <boost/json/serialize.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace velto {
namespace {

namespace json = boost::json;

std::string repeated(std::string_view text, std::size_t times) {
  std::string result;
  for (std::size_t i = 0; i < times; ++i) {
    result.append(text);
  }
  return result;
}

TEST(JSONReader, readsEveryKindOfValue) {
  const auto value =
      readJSON(R"( {"a":[null,true,false,-1,18446744073709551615,1.5,"\u00e9\n"]} )");
  ASSERT_TRUE(value);
  EXPECT_EQ(json::serialize(*value),
            R"({"a":[null,true,false,-1,18446744073709551615,1.5E0,"é\n"]})");
}

TEST(JSONReader, takesTheLastOfSeveralMembersOfOneName) {
  const auto value = readJSON(R"({"a":1,"b":2,"a":3})");
  ASSERT_TRUE(value);
  EXPECT_EQ(value->at("a"), 3);
}

class NotJSON : public testing::TestWithParam<std::string> {};

TEST_P(NotJSON, isRefused) {
  EXPECT_FALSE(readJSON(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(, NotJSON,
                         testing::Values("", " ", "{", "{} x", "{}{}", "{'a':1}", "{\"a\":1,}",
                                         "nul", "NaN", "+1", "01", "\xef\xbb\xbf{}", "\"\xff\"",
                                         "\"\xc0\x80\"", "\"\xed\xa0\x80\"", "\"\\ud800\"",
                                         "\"line\nbreak\"", "1e400", "-1e400", "[1.0e309]",
                                         "1.797693134862315808e308", "1e99999999999999999999",
                                         std::string(400, '9'), "// comment\n1"));

TEST(JSONReader, readsTheLargestAndTheSmallestNumbers) {
  const auto limits = readJSON("[1.7976931348623157e308,-1.7976931348623157e308,4.9e-324,1e-400]");
  ASSERT_TRUE(limits);
  EXPECT_EQ(limits->at(0), std::numeric_limits<double>::max());
  EXPECT_EQ(limits->at(1), std::numeric_limits<double>::lowest());
  EXPECT_EQ(limits->at(2), std::numeric_limits<double>::denorm_min());
  EXPECT_EQ(limits->at(3), 0.0);
}

TEST(JSONReader, readsTheNearestDoubles) {
  std::mt19937_64 random(7);
  std::uniform_real_distribution<double> seconds(0, 1e9);
  for (int i = 0; i < 10000; ++i) {
    const double number = seconds(random);
    char text[32];
    std::snprintf(text, sizeof(text), "%.17g", number);
    const auto value = readJSON(text);
    ASSERT_TRUE(value);
    ASSERT_EQ(*value, number) << text;
  }
}

TEST(JSONReader, limitsTheDepth) {
  const auto nested = [](std::size_t depth) { return repeated("[", depth) + repeated("]", depth); };
  EXPECT_TRUE(readJSON(nested(64)));
  EXPECT_FALSE(readJSON(nested(65)));
  EXPECT_TRUE(readJSON(repeated(R"({"a":)", 64) + "1" + repeated("}", 64)));
  EXPECT_FALSE(readJSON(repeated(R"({"a":)", 65) + "1" + repeated("}", 65)));
  EXPECT_TRUE(readJSON(nested(100), {}, 100));
  EXPECT_FALSE(readJSON(repeated("[", 1000000)));
}

}  // namespace
}  // namespace velto
