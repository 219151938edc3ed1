// SPDX-License-Identifier: Apache-2.0
#include "platform/propertylist/PropertyListSerialization.h"

#include <gmock/gmock.h>

#include "tests/propertylist/PropertyListTesting.h"

namespace velto {
namespace {

PropertyListFormat formatOf(std::string_view bytes) {
  PropertyListFormat format{};
  EXPECT_TRUE(PropertyListSerialization::propertyList(Data(bytes), nullptr, &format)) << bytes;
  return format;
}

TEST(PropertyListSerialization, TellsTheFormatsApartByContent) {
  EXPECT_EQ(formatOf(bytesOf(1)), PropertyListFormat::kBinaryv1_0);
  EXPECT_EQ(formatOf("<plist><true/></plist>"), PropertyListFormat::kXMLv1_0);
  EXPECT_EQ(formatOf("\xEF\xBB\xBF\n <?xml version='1.0'?><true/>"), PropertyListFormat::kXMLv1_0);
  EXPECT_EQ(formatOf("<!DOCTYPE plist><true/>"), PropertyListFormat::kXMLv1_0);
  EXPECT_EQ(formatOf("<0fbd77>"), PropertyListFormat::kOpenStep);
  EXPECT_EQ(formatOf("bplist = 1;"), PropertyListFormat::kOpenStep);
  EXPECT_EQ(formatOf(" "), PropertyListFormat::kOpenStep);
}

TEST(PropertyListSerialization, ReadsLaterMinorVersionsOfTheBinaryForm) {
  std::string file = bytesOf("x");
  file[7] = '1';
  EXPECT_EQ(valueOf(file), PropertyList("x"));
}

TEST(PropertyListSerialization, ReadsNothingFromNoBytes) {
  std::optional<Error> error;
  EXPECT_FALSE(PropertyListSerialization::propertyList(Data(), &error));
  EXPECT_TRUE(error);
}

TEST(PropertyListSerialization, NeedsNoErrorSlot) {
  EXPECT_FALSE(PropertyListSerialization::propertyList(Data("("), nullptr));
  EXPECT_FALSE(PropertyListSerialization::propertyList(Data("bplist00"), nullptr));
  EXPECT_FALSE(PropertyListSerialization::propertyList(Data("<plist>"), nullptr));
}

TEST(PropertyListSerialization, LeavesAnEarlierErrorInItsPlace) {
  for (const char* bytes : {"(", "bplist00", "<plist>"}) {
    std::optional<Error> error = makeError("Earlier", 7, "first");
    EXPECT_FALSE(PropertyListSerialization::propertyList(Data(bytes), &error));
    EXPECT_EQ(error->domain, "Earlier");
  }
}

TEST(PropertyListSerialization, GivesTheSameValueFromEveryForm) {
  const PropertyList value =
      PropertyList::Dictionary{{"list", PropertyList::Array{"a", Data("\x0F")}}, {"k", "v"}};
  EXPECT_EQ(valueOf(bytesOf(value)), value);
  EXPECT_EQ(valueOf("{ list = (a, <0f>); k = v; }"), value);
  EXPECT_EQ(valueOf("<plist><dict><key>list</key><array><string>a</string><data>Dw==</data></array>"
                    "<key>k</key><string>v</string></dict></plist>"),
            value);
}

TEST(PropertyListSerialization, KeepsLargeArraysAndDictionaries) {
  PropertyList::Array array;
  PropertyList::Dictionary dictionary;
  for (int i = 0; i < 10'000; ++i) {
    array.emplace_back("element " + std::to_string(i));
    dictionary["key " + std::to_string(i)] = i % 100;
  }
  const PropertyList value = PropertyList::Array{array, dictionary};
  EXPECT_EQ(valueOf(bytesOf(value)), value);
}

}  // namespace
}  // namespace velto
