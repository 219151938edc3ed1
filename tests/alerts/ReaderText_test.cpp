// SPDX-License-Identifier: Apache-2.0
#include "alerts/texts/ReaderText.h"

#include <cmath>
#include <limits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/foundation/UTF8.h"
#include "tests/foundation/ScopedEnvironment.h"

namespace velto {
namespace {

using testing::EndsWith;

std::string expandedIn(const std::string& locale, std::string_view pattern,
                       const PropertyList::Dictionary& attributes) {
  return expandedText(pattern, attributes, *ReaderFormats::forLocale(locale));
}

/// A value as the readers of a locale write it.
std::string written(const std::string& locale, const PropertyList& value) {
  return expandedIn(locale, "%{value}", {{"value", value}});
}

std::string expanded(std::string_view pattern) {
  return expandedIn(
      "en", pattern,
      {{"volume", "/home"}, {"percent", 97}, {"trap", "%{volume} %%"}, {"", "unnamed"}});
}

TEST(ReaderText, WritesNumbersAsTheLocaleDoes) {
  EXPECT_EQ(written("en", 1234.5), "1,234.5");
  EXPECT_EQ(written("de", 1234.5), "1.234,5");
  EXPECT_EQ(written("de_CH", 1234.5), "1’234.5");
  EXPECT_EQ(written("fr", -1234567), "-1\u202f234\u202f567");
  EXPECT_EQ(written("de", std::numeric_limits<std::uint64_t>::max()), "18.446.744.073.709.551.615");
  EXPECT_EQ(written("de", std::numeric_limits<std::int64_t>::min()), "-9.223.372.036.854.775.808");
  EXPECT_EQ(written("de", 0.1), "0,1");
  EXPECT_EQ(written("de", 2.0), "2");
}

TEST(ReaderText, CountsTheZerosOfExtremeNumbers) {
  EXPECT_EQ(written("de", std::numeric_limits<double>::max()), "1,7976931348623157E308");
  EXPECT_EQ(written("en", 5e-324), "5E-324");
  EXPECT_EQ(written("en", 0.0), "0");
  EXPECT_EQ(written("en", std::numeric_limits<double>::infinity()), "∞");
  EXPECT_EQ(written("en", std::nan("")), "NaN");
}

TEST(ReaderText, WritesDatesInTheMachinesTimeZone) {
  const Date date = Date::fromUnixSeconds(1795208400);
  EXPECT_THAT(written("de", date), testing::StartsWith("20. November 2026 um 21:00:00 "));
  EXPECT_THAT(written("en", date), testing::StartsWith("November 20, 2026 at 9:00:00"));
  EXPECT_EQ(written("de", Date(-1e300)), "");
  EXPECT_EQ(written("de", Date(std::nan(""))), "");
  EXPECT_EQ(written("de", Date::fromUnixSeconds(253402300800.0)), "");
}

TEST(ReaderText, SaysYesAndNo) {
  EXPECT_EQ(written("de", true), "ja");
  EXPECT_EQ(written("de_AT", false), "nein");
  EXPECT_EQ(written("fr", true), "oui");
  EXPECT_EQ(written("nb", false), "nei");
  EXPECT_EQ(written("tlh", true), "yes");
}

TEST(ReaderText, WritesListsAsTheLocaleDoes) {
  const PropertyList::Array volumes{"/home", "/srv", 1234};
  EXPECT_EQ(written("en", volumes), "/home, /srv, and 1,234");
  EXPECT_EQ(written("de", volumes), "/home, /srv und 1.234");
  EXPECT_EQ(written("ja", volumes), "/home、/srv、1,234");
  EXPECT_EQ(written("de", PropertyList::Array{"/home"}), "/home");
  EXPECT_EQ(written("de", PropertyList::Array{}), "");
  EXPECT_EQ(written("de", PropertyList::Dictionary{{"b", 2.5}, {"a", true}}), "a: ja und b: 2,5");
  EXPECT_EQ(written("de", PropertyList::Array{PropertyList::Array{1, 2}, 3}), "1 und 2 und 3");
}

TEST(ReaderText, WritesDataInHexadecimal) {
  EXPECT_EQ(written("de", Data(std::string_view("\x00\x7f\xff", 3))), "007fff");
  EXPECT_EQ(written("de", PropertyList()), "");
}

TEST(ReaderText, HasALimit) {
  const std::string long_(std::size_t{700} * 1024, 'x');
  const PropertyList::Dictionary attributes{{"long", long_}};
  const std::string text = expandedIn("en", "%{long}%{long}%{long}", attributes);
  EXPECT_EQ(text.size(), ReaderText::kMaximumSize + std::string("…").size());
  EXPECT_THAT(text, EndsWith("x…"));
}

TEST(ReaderText, CutsNoCharacterInTwo) {
  std::string umlauts;
  while (umlauts.size() <= ReaderText::kMaximumSize)
    umlauts += "ü";
  for (const std::string before : {"", "x"}) {
    const std::string text = expandedIn("en", before + "%{umlauts}", {{"umlauts", umlauts}});
    EXPECT_EQ(invalidUTF8Offset(text), std::nullopt);
    EXPECT_THAT(text, EndsWith("ü…"));
  }
}

TEST(ReaderText, PutsSoManyValuesInAndNoMore) {
  std::string pattern;
  for (std::size_t count = 0; count < 4 * ReaderText::kMaximumValues; ++count)
    pattern += "%{n}";
  EXPECT_EQ(expandedIn("en", pattern, {{"n", 1}}),
            std::string(ReaderText::kMaximumValues, '1') + "…");
}

TEST(ReaderText, WritesTheBeginningOfAListWithoutEnd) {
  const PropertyList::Array many(200000, PropertyList(true));
  const std::string text = written("de", many);
  EXPECT_THAT(text, testing::StartsWith("ja, ja, "));
  EXPECT_THAT(text, EndsWith("…"));
  EXPECT_LT(text.size(), ReaderText::kMaximumValues * 4 + 100);
}

TEST(ReaderText, WritesListsWithinListsInBoundedTime) {
  PropertyList nested = PropertyList::Array{"x", "y"};
  for (int depth = 0; depth < 500; ++depth)
    nested = PropertyList::Array{std::move(nested), 1};
  EXPECT_THAT(written("en", nested), EndsWith(" and 1"));
  PropertyList wide = PropertyList::Array(100, PropertyList::Array(100, PropertyList::Array(100)));
  EXPECT_THAT(written("en", wide), EndsWith("…"));
}

TEST(ExpandedText, PutsAttributesIn) {
  EXPECT_EQ(expanded("%{volume} is %{percent}%% full"), "/home is 97% full");
  EXPECT_EQ(expanded("%{volume}%{volume}"), "/home/home");
  EXPECT_EQ(expanded("no attribute"), "no attribute");
  EXPECT_EQ(expanded(""), "");
}

TEST(ExpandedText, LeavesAMissingAttributeOut) {
  EXPECT_EQ(expanded("<%{missing}>"), "<>");
  EXPECT_EQ(expandedIn("en", "<%{volume}>", {}), "<>");
}

TEST(ExpandedText, NeverLooksAtWhatItPutIn) {
  EXPECT_EQ(expanded("%{trap}"), "%{volume} %%");
  EXPECT_EQ(expanded("%%{volume}"), "%{volume}");
}

TEST(ExpandedText, LeavesOtherPercentSignsAlone) {
  EXPECT_EQ(expanded("%"), "%");
  EXPECT_EQ(expanded("50 % of %d"), "50 % of %d");
  EXPECT_EQ(expanded("%%%"), "%%");
  EXPECT_EQ(expanded("%{unclosed"), "%{unclosed");
  EXPECT_EQ(expanded("%{volume} %{unclosed %{"), "/home %{unclosed %{");
  EXPECT_EQ(expanded("%{}"), "unnamed");
}

TEST(ExpandedText, LooksForAMissingBraceOnce) {
  std::string pattern;
  while (pattern.size() < std::size_t{1} << 20)
    pattern += "%{";
  EXPECT_EQ(expanded(pattern), pattern);
}

}  // namespace
}  // namespace velto
