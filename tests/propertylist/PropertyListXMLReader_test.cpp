// SPDX-License-Identifier: Apache-2.0
#include "platform/propertylist/PropertyListXMLReader.h"

#include <cmath>
#include <limits>
#include <ostream>

#include <gmock/gmock.h>

#include "tests/propertylist/PropertyListTesting.h"

namespace velto {
namespace {

using ::testing::HasSubstr;
using Array = PropertyList::Array;
using Dictionary = PropertyList::Dictionary;

/// A document whose value starts on line 3.
std::string document(std::string_view value) {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n" +
         std::string(value) + "\n</plist>\n";
}

struct XMLCase {
  const char* name;
  const char* element;
  PropertyList value;

  friend void PrintTo(const XMLCase& each, std::ostream* stream) { *stream << each.name; }
};

class XMLReading : public ::testing::TestWithParam<XMLCase> {};

TEST_P(XMLReading, GivesTheValue) {
  EXPECT_EQ(valueOf(document(GetParam().element)), GetParam().value);
}

INSTANTIATE_TEST_SUITE_P(
    Structure, XMLReading,
    ::testing::Values(XMLCase{"emptyDict", "<dict/>", Dictionary()},
                      XMLCase{"blankDict", "<dict>\n</dict>", Dictionary()},
                      XMLCase{"emptyArray", "<array></array>", Array()},
                      XMLCase{"dict",
                              "<dict><key>a</key><true/><key>b</key><string>c</string></dict>",
                              Dictionary{{"a", true}, {"b", "c"}}},
                      XMLCase{"emptyKey", "<dict><key/><true/></dict>", Dictionary{{"", true}}},
                      XMLCase{"lastKeyWins", "<dict><key>a</key><true/><key>a</key><false/></dict>",
                              Dictionary{{"a", false}}},
                      XMLCase{"array",
                              "<array> <true/> <!-- no --> <array><false/></array> </array>",
                              Array{true, Array{false}}},
                      XMLCase{"comment", "<!-- a --><true/><!-- b -->", true},
                      XMLCase{"attributes", "<string xml:space=\"preserve\">a</string>", "a"}),
    [](const auto& tested) { return tested.param.name; });

INSTANTIATE_TEST_SUITE_P(
    Strings, XMLReading,
    ::testing::Values(XMLCase{"plain", "<string>caf\xC3\xA9</string>", "caf\xC3\xA9"},
                      XMLCase{"none", "<string/>", ""}, XMLCase{"empty", "<string></string>", ""},
                      XMLCase{"white", "<string> \n </string>", " \n "},
                      XMLCase{"spaceAround", "<string> a </string>", " a "},
                      XMLCase{"lineEnds", "<string>a\r\nb\rc</string>", "a\nb\nc"},
                      XMLCase{"entities", "<string>&lt;&gt;&amp;&quot;&apos;</string>", "<>&\"'"},
                      XMLCase{"notTwice", "<string>&amp;lt;</string>", "&lt;"},
                      XMLCase{"numbers", "<string>&#233;&#xE9;&#x1F600;</string>",
                              "\xC3\xA9\xC3\xA9\xF0\x9F\x98\x80"},
                      XMLCase{"cdata", "<string>a<![CDATA[<&amp;>]]>b</string>", "a<&amp;>b"},
                      XMLCase{"commentWithin", "<string>a<!-- b -->c</string>", "ac"}),
    [](const auto& tested) { return tested.param.name; });

INSTANTIATE_TEST_SUITE_P(
    Numbers, XMLReading,
    ::testing::Values(XMLCase{"zero", "<integer>0</integer>", 0},
                      XMLCase{"minus", "<integer>-12</integer>", -12},
                      XMLCase{"plus", "<integer>+12</integer>", 12},
                      XMLCase{"spaced", "<integer>\n 12\t</integer>", 12},
                      XMLCase{"leadingZeros", "<integer>0012</integer>", 12},
                      XMLCase{"hexadecimal", "<integer>0xfF</integer>", 255},
                      XMLCase{"capitalHexadecimal", "<integer>0XFF</integer>", 255},
                      XMLCase{"minusHexadecimal", "<integer>-0x10</integer>", -16},
                      XMLCase{"lowest", "<integer>-9223372036854775808</integer>",
                              std::numeric_limits<std::int64_t>::min()},
                      XMLCase{"largest", "<integer>18446744073709551615</integer>",
                              std::numeric_limits<std::uint64_t>::max()},
                      XMLCase{"real", "<real>-1.5e3</real>", -1500.0},
                      XMLCase{"plusReal", "<real> +0.25 </real>", 0.25},
                      XMLCase{"wholeReal", "<real>3</real>", 3.0},
                      XMLCase{"infinity", "<real>inf</real>", HUGE_VAL},
                      XMLCase{"plusInfinity", "<real>+infinity</real>", HUGE_VAL},
                      XMLCase{"minusInfinity", "<real>-INF</real>", -HUGE_VAL},
                      XMLCase{"false", "<false></false>", false},
                      XMLCase{"trueBlank", "<true> </true>", true}),
    [](const auto& tested) { return tested.param.name; });

INSTANTIATE_TEST_SUITE_P(
    DatesAndData, XMLReading,
    ::testing::Values(
        XMLCase{"reference", "<date>2001-01-01T00:00:00Z</date>", Date(0)},
        XMLCase{"before", "<date>2000-12-31T23:59:58Z</date>", Date(-2)},
        XMLCase{"leapDay", "<date> 2004-02-29T12:30:15Z\n</date>", Date(99750615)},
        XMLCase{"epoch", "<date>1970-01-01T00:00:00Z</date>", Date::fromUnixSeconds(0)},
        XMLCase{"yearOne", "<date>0001-01-01T00:00:00Z</date>", Date(-63113904000.0)},
        XMLCase{"data", "<data>AAEC/w==</data>", Data(std::string_view("\0\1\2\xFF", 4))},
        XMLCase{"folded", "<data>\n\tAA EC\r\n\t/w=\n=\n</data>",
                Data(std::string_view("\0\1\2\xFF", 4))},
        XMLCase{"emptyData", "<data>\n</data>", Data()}),
    [](const auto& tested) { return tested.param.name; });

TEST(PropertyListXMLReader, ReadsANumberThatIsNone) {
  const PropertyList value = valueOf(document("<real>nan</real>"));
  ASSERT_NE(value.real(), nullptr);
  EXPECT_TRUE(std::isnan(*value.real()));
}

struct BadElementCase {
  const char* name;
  const char* element;
  const char* error;

  friend void PrintTo(const BadElementCase& each, std::ostream* stream) { *stream << each.name; }
};

class BadElement : public ::testing::TestWithParam<BadElementCase> {};

TEST_P(BadElement, IsAnErrorThatSaysWhatAndWhere) {
  EXPECT_EQ(readErrorOf(document(GetParam().element)), GetParam().error);
}

INSTANTIATE_TEST_SUITE_P(
    All, BadElement,
    ::testing::Values(
        BadElementCase{"unknown", "<set/>", "not a valid <set> at line 3"},
        BadElementCase{"capital", "<Dict/>", "not a valid <Dict> at line 3"},
        BadElementCase{"keyAlone", "<key>a</key>", "not a valid <key> at line 3"},
        BadElementCase{"nothing", "", "<plist> without a value at line 2"},
        BadElementCase{"twoValues", "<true/>\n<true/>", "a second value in <plist> at line 4"},
        BadElementCase{"strayText", "<array>\n<true/>x</array>",
                       "text between the elements at line 4"},
        BadElementCase{"strayCdata", "<array><![CDATA[x]]></array>",
                       "text between the elements at line 3"},
        BadElementCase{"noKey", "<dict>\n<true/></dict>", "<key> expected at line 4"},
        BadElementCase{"noValue", "<dict>\n\n<key>a</key></dict>",
                       "<key> without a value at line 5"},
        BadElementCase{"elementInKey", "<dict><key><b/></key><true/></dict>",
                       "an unexpected element at line 3"},
        BadElementCase{"elementInString", "<string>a<b/></string>",
                       "an unexpected element at line 3"},
        BadElementCase{"textInTrue", "<true>x</true>", "not a valid <true> at line 3"},
        BadElementCase{"unknownEntity", "<string>&nbsp;</string>",
                       "an unknown reference after '&' at line 3"},
        BadElementCase{"openEntity", "<string>a & b</string>",
                       "an unknown reference after '&' at line 3"},
        BadElementCase{"nulNumber", "<string>&#0;</string>",
                       "an unknown reference after '&' at line 3"},
        BadElementCase{"surrogateNumber", "<string>&#xD800;</string>",
                       "an unknown reference after '&' at line 3"},
        BadElementCase{"largeNumber", "<string>&#x110000;</string>",
                       "an unknown reference after '&' at line 3"},
        BadElementCase{"overflowingNumber", "<string>&#99999999999;</string>",
                       "an unknown reference after '&' at line 3"},
        BadElementCase{"emptyNumber", "<string>&#x;</string>",
                       "an unknown reference after '&' at line 3"}),
    [](const auto& tested) { return tested.param.name; });

TEST(PropertyListXMLReader, RefusesScalarsThatMeanNothing) {
  for (const char* text : {"", " ", "x", "1x", "--1", "+-1", "0x", "1.5", "18446744073709551616",
                           "-9223372036854775809", "1 2", "0x-1"}) {
    EXPECT_THAT(readErrorOf(document("<integer>" + std::string(text) + "</integer>")),
                HasSubstr("not a valid <integer>"))
        << text;
  }
  for (const char* text : {"", "x", "1,5", "+-1", "--1", "1e", "1.5 x", "1e999"}) {
    EXPECT_THAT(readErrorOf(document("<real>" + std::string(text) + "</real>")),
                HasSubstr("not a valid <real>"))
        << text;
  }
  for (const char* text :
       {"", "2001-01-01", "2001-01-01T00:00:00", "2001-02-29T00:00:00Z", "2001-13-01T00:00:00Z",
        "2001-00-01T00:00:00Z", "2001-01-01T24:00:00Z", "2001-01-01T00:60:00Z",
        "2001-01-01T00:00:60Z", "2001-01-01 00:00:00Z", "2OO1-01-01T00:00:00Z",
        "20010-01-01T00:00:00Z", "2001-01-01T00:00:00+"}) {
    EXPECT_THAT(readErrorOf(document("<date>" + std::string(text) + "</date>")),
                HasSubstr("not a valid <date>"))
        << text;
  }
  for (const char* text : {"A", "AA", "AAA", "A===", "AA=A", "AAAA=", "A*AA", "===="}) {
    EXPECT_THAT(readErrorOf(document("<data>" + std::string(text) + "</data>")),
                HasSubstr("not a valid <data>"))
        << text;
  }
}

TEST(PropertyListXMLReader, TakesAnyOfItsBeginnings) {
  const PropertyList expected(true);
  EXPECT_EQ(valueOf("<plist><true/></plist>"), expected);
  EXPECT_EQ(valueOf("\xEF\xBB\xBF \n<plist><true/></plist>"), expected);
  EXPECT_EQ(valueOf("<!DOCTYPE plist><plist><true/></plist>"), expected);
  EXPECT_EQ(valueOf("<?xml version='1.0'?><true/>"), expected);
}

TEST(PropertyListXMLReader, NamesTheLineOfBrokenMarkup) {
  for (const char* text :
       {"<plist>\n<dict>\n</plist>", "<plist>\n\n<true/", "<plist>\n<!-- \n", "<?xml\n\n"}) {
    EXPECT_THAT(readErrorOf(text), HasSubstr(" at line ")) << text;
  }
  EXPECT_EQ(readErrorOf("<?xml version='1.0'?>\n"), "no element at line 1");
  EXPECT_EQ(readErrorOf("<plist><true/></plist>\nx"), "text between the elements at line 1");
  EXPECT_EQ(readErrorOf("<plist><true/></plist>\n<plist/>"), "a second root element at line 2");
}

TEST(PropertyListXMLReader, RefusesDeclaredEntities) {
  EXPECT_EQ(readErrorOf("<!DOCTYPE plist [\n<!ENTITY a SYSTEM \"/etc/passwd\">\n]>\n"
                        "<plist><string>&a;</string></plist>"),
            "declarations of entities are not supported at line 1");
}

TEST(PropertyListXMLReader, RefusesNuls) {
  EXPECT_EQ(readErrorOf(std::string_view("<plist>\n<string>\0</string></plist>", 34)),
            "a NUL at line 2");
}

TEST(PropertyListXMLReader, RefusesTextThatIsNotUTF8) {
  EXPECT_EQ(readErrorOf(document("<string>\xE9</string>")),
            "the text is not valid UTF-8 at line 3");
}

TEST(PropertyListXMLReader, TakesUTF16WithAMark) {
  std::string bytes = "\xFF\xFE";
  for (const char character : std::string("<?xml version='1.0' encoding='UTF-16'?><true/>")) {
    bytes += {character, '\0'};
  }
  EXPECT_EQ(valueOf(bytes), PropertyList(true));
}

TEST(PropertyListXMLReader, ReadsToTheMaximumDepthAndNoDeeper) {
  const auto nested = [](std::size_t depth) {
    return document(repeated("<array>", depth) + repeated("</array>", depth));
  };
  constexpr auto kDeepest = static_cast<std::size_t>(PropertyListSerialization::kMaximumDepth);
  EXPECT_EQ(valueOf(nested(kDeepest)), nestedArrays(PropertyListSerialization::kMaximumDepth));
  EXPECT_EQ(readErrorOf(nested(kDeepest + 1)), "nested too deep at line 3");
  EXPECT_EQ(readErrorOf(nested(200'000)), "nested too deep at line 3");
}

}  // namespace
}  // namespace velto
