// SPDX-License-Identifier: Apache-2.0
#include "alerts/AlertText.h"

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

namespace velto {
namespace {

TEST(ReadableText, OfStringsAndNumbers) {
  EXPECT_EQ(readableText("Zwölf"), "Zwölf");
  EXPECT_EQ(readableText(-12), "-12");
  EXPECT_EQ(readableText(std::numeric_limits<std::uint64_t>::max()), "18446744073709551615");
  EXPECT_EQ(readableText(0.1), "0.1");
  EXPECT_EQ(readableText(2.0), "2");
  EXPECT_EQ(readableText(-1.7976931348623157e308), "-1.7976931348623157e+308");
  EXPECT_EQ(readableText(true), "yes");
  EXPECT_EQ(readableText(false), "no");
}

TEST(ReadableText, OfDates) {
  EXPECT_EQ(readableText(Date(0)), "2001-01-01 00:00:00 UTC");
  EXPECT_EQ(readableText(Date(0.9)), "2001-01-01 00:00:00 UTC");
  EXPECT_EQ(readableText(Date(-0.1)), "2000-12-31 23:59:59 UTC");
  EXPECT_EQ(readableText(Date::fromUnixSeconds(1795208400)), "2026-11-20 21:00:00 UTC");
  EXPECT_EQ(readableText(Date::fromUnixSeconds(-62167219200.0)), "0000-01-01 00:00:00 UTC");
  EXPECT_EQ(readableText(Date::fromUnixSeconds(253402300799.0)), "9999-12-31 23:59:59 UTC");
}

TEST(ReadableText, OfDatesThatNoCalendarHolds) {
  EXPECT_EQ(readableText(Date::fromUnixSeconds(253402300800.0)), "");
  EXPECT_EQ(readableText(Date(-1e300)), "");
  EXPECT_EQ(readableText(Date(std::nan(""))), "");
}

TEST(ReadableText, OfDataAndCollections) {
  EXPECT_EQ(readableText(Data(std::string_view("\x00\x7f\xff", 3))), "007fff");
  EXPECT_EQ(readableText(PropertyList::Array{1, "two", PropertyList::Array{}}), "1, two, ");
  EXPECT_EQ(readableText(PropertyList::Dictionary{{"b", 2}, {"a", true}}), "a: yes, b: 2");
  EXPECT_EQ(readableText(PropertyList()), "");
}

}  // namespace
}  // namespace velto
