// SPDX-License-Identifier: Apache-2.0
#include "platform/foundation/JSONText.h"

#include <cmath>
#include <limits>
#include <string>

#include <boost/json.hpp>
#include <gtest/gtest.h>

#include "tests/foundation/JSONTesting.h"

namespace velto {
namespace {

namespace json = boost::json;

TEST(JSONText, AnyTextReadsBack) {
  std::string all;
  for (int character = 0; character < 0x80; ++character) {
    all += static_cast<char>(character);
  }
  for (const std::string& text : {all, std::string(), std::string("Größe \u20ac \U0001F514"),
                                  std::string("\0", 1), std::string("\"\\")}) {
    EXPECT_EQ(json::parse(asText(text)).as_string(), text);
  }
}

TEST(JSONText, ControlCharactersAreEscaped) {
  EXPECT_EQ(asText(std::string("\b\f\n\r\t\"\\\x01\x1f\x7f/")),
            "\"\\b\\f\\n\\r\\t\\\"\\\\\\u0001\\u001f\x7f/\"");
}

TEST(JSONText, EveryCharacterIsEscapedWhereverItStands) {
  constexpr std::size_t kLength = 19;  // more than two words, and a rest
  for (std::size_t place = 0; place < kLength; ++place) {
    for (int character = 0; character < 0x100; ++character) {
      std::string text(kLength, '!');
      text[place] = static_cast<char>(character);
      const bool isEscaped = character < 0x20 || character == '"' || character == '\\';
      const std::string written = asText(text);
      EXPECT_EQ(written.size() > kLength + 2, isEscaped) << character << " at " << place;
      if (character < 0x80) {
        EXPECT_EQ(json::parse(written).as_string(), text);
      }
    }
  }
}

TEST(JSONText, NumbersReadBackAsTheyAre) {
  for (const double real :
       {0.0, -0.0, 0.1, 5.0, -5.0, 7e8, 700000000.5, 0x1p53, 0x1p53 + 2, 0x1p63, 0x1p64, -1e300,
        5e-324, 1.7976931348623157e308, 1e22, 123456789012345680.0}) {
    const json::value back = json::parse(asText(real));
    ASSERT_TRUE(back.is_double()) << asText(real);
    EXPECT_EQ(back.as_double(), real);
    EXPECT_EQ(std::signbit(back.as_double()), std::signbit(real));
  }
  EXPECT_EQ(asText(0.0), "0.0");
  EXPECT_EQ(asText(7e8), "700000000.0");
  EXPECT_EQ(asText(std::numeric_limits<std::int64_t>::min()), "-9223372036854775808");
  EXPECT_EQ(asText(std::numeric_limits<std::uint64_t>::max()), "18446744073709551615");
  EXPECT_EQ(asText(std::numeric_limits<double>::infinity()), "null");
  EXPECT_EQ(asText(std::numeric_limits<double>::quiet_NaN()), "null");
}

TEST(JSONText, ContainersHoldOthers) {
  using Lists = std::map<std::string, std::vector<std::vector<std::string>>>;
  EXPECT_EQ(asText(Lists{}), "{}");
  EXPECT_EQ(asText(Lists{{"a", {}}, {"b\"", {{}, {"[", ","}, {"x"}}}}),
            R"({"a":[],"b\"":[[],["[",","],["x"]]})");
}

TEST(JSONText, ACharacterIsEscapedWhereverItStands) {
  for (int byte = 0; byte < 256; ++byte) {
    const std::string alone = asText(std::string_view(std::string(1, static_cast<char>(byte))));
    const std::string escaped = alone.substr(1, alone.size() - 2);
    EXPECT_EQ(escaped.size() > 1, byte < 0x20 || byte == '"' || byte == '\\') << byte;
    for (std::size_t before = 0; before < 18; ++before) {
      const std::string text =
          std::string(before, 'a') + static_cast<char>(byte) + std::string(17 - before, 'z');
      EXPECT_EQ(asText(std::string_view(text)),
                "\"" + std::string(before, 'a') + escaped + std::string(17 - before, 'z') + "\"");
    }
  }
}

TEST(JSONText, OfATextThatShouldBeASCIINothingElseIsWritten) {
  for (int byte = 0; byte < 256; ++byte) {
    for (std::size_t length = 1; length < 18; ++length) {
      for (std::size_t place = 0; place < length; ++place) {
        std::string value(length, 'a');
        value[place] = static_cast<char>(byte);
        std::string text = "before";
        EXPECT_EQ(appendASCIIJSON(text, value), byte < 0x80);
        EXPECT_EQ(text, byte < 0x80 ? "before" + asText(value) : "before");
      }
    }
  }
  std::string text;
  EXPECT_TRUE(appendASCIIJSON(text, ""));
  EXPECT_EQ(text, "\"\"");
}

TEST(JSONText, ElementsAreDividedAlsoWhereThoseBeforeAreGone) {
  std::string text = "[";
  beginElement(text);
  text += "1";
  beginElement(text);
  EXPECT_EQ(text, "[1,");
  text.clear();
  beginElement(text);
  EXPECT_EQ(text, ",");
}

TEST(JSONText, ANameThatIsWrittenOftenStandsAsOthersDo) {
  constexpr MemberName kName("name");
  std::string text;
  JSONObjectText object(text);
  object.add(kName, true);
  object.add("other", true);
  object.add(kName, std::optional<bool>());
  object.add(kName, std::optional<bool>(false));
  object.end();
  EXPECT_EQ(text, R"({"name":true,"other":true,"name":false})");
}

TEST(JSONText, MembersThatAreAbsentAreLeftOut) {
  std::string text;
  JSONObjectText object(text);
  object.add("absent", std::optional<bool>());
  object.add("first", std::optional<bool>(true));
  object.add("second", std::int64_t{-1});
  object.end();
  EXPECT_EQ(text, R"({"first":true,"second":-1})");
}

}  // namespace
}  // namespace velto
