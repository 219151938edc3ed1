// SPDX-License-Identifier: Apache-2.0
#include "platform/propertylist/PropertyListBinaryWriter.h"

#include <cmath>
#include <limits>
#include <ostream>
#include <utility>

#include <gmock/gmock.h>

#include "tests/propertylist/PropertyListTesting.h"

namespace velto {
namespace {

using ::testing::HasSubstr;

std::string writeErrorOf(const PropertyList& value) {
  std::optional<Error> error;
  EXPECT_FALSE(PropertyListSerialization::binaryData(value, &error));
  if (!error) return "no error";
  EXPECT_EQ(error->domain, "PropertyListSerialization");
  return error->localizedDescription();
}

/// The file of one object.
std::string fileOf(const std::string& object) {
  return BinaryFile{.objects = {object}, .offsetWidth = 1}.bytes();
}

struct ScalarCase {
  const char* name;
  PropertyList value;
  std::string object;

  friend void PrintTo(const ScalarCase& each, std::ostream* stream) { *stream << each.name; }
};

class ScalarWriting : public ::testing::TestWithParam<ScalarCase> {};

TEST_P(ScalarWriting, GivesTheBytesOfTheFormat) {
  EXPECT_EQ(bytesOf(GetParam().value), fileOf(GetParam().object));
}

TEST_P(ScalarWriting, ReadsBack) {
  EXPECT_EQ(valueOf(bytesOf(GetParam().value)), GetParam().value);
}

INSTANTIATE_TEST_SUITE_P(
    All, ScalarWriting,
    ::testing::Values(
        ScalarCase{"zero", 0, {"\x10\x00", 2}}, ScalarCase{"oneByte", 255, "\x10\xFF"},
        ScalarCase{"twoBytes", 256, {"\x11\x01\x00", 3}},
        ScalarCase{"twoBytesFull", 65535, "\x11\xFF\xFF"},
        ScalarCase{"fourBytes", 65536, "\x12" + bigEndian(65536, 4)},
        ScalarCase{"fourBytesFull", 4294967295U, "\x12\xFF\xFF\xFF\xFF"},
        ScalarCase{"eightBytes", std::int64_t{1} << 32, "\x13" + bigEndian(1ULL << 32, 8)},
        ScalarCase{"largest", std::numeric_limits<std::int64_t>::max(),
                   "\x13\x7F\xFF\xFF\xFF\xFF\xFF\xFF\xFF"},
        ScalarCase{"minusOne", -1, "\x13\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF"},
        ScalarCase{"lowest", std::numeric_limits<std::int64_t>::min(),
                   "\x13" + bigEndian(1ULL << 63, 8)},
        ScalarCase{"unsigned", 1ULL << 63, "\x14" + bigEndian(0, 8) + bigEndian(1ULL << 63, 8)},
        ScalarCase{"unsignedLargest", std::numeric_limits<std::uint64_t>::max(),
                   "\x14" + bigEndian(0, 8) + bigEndian(~0ULL, 8)},
        ScalarCase{"real", 1.0, "\x23" + bigEndian(0x3FF0000000000000, 8)},
        ScalarCase{"date", Date(-0.5), "\x33" + bigEndian(0xBFE0000000000000, 8)},
        ScalarCase{"true", true, "\x09"}, ScalarCase{"false", false, "\x08"},
        ScalarCase{"data", Data("ab"),
                   "\x42"
                   "ab"},
        ScalarCase{"emptyString", "", "\x50"},
        ScalarCase{"shortString", "123456789012345",
                   "\x5F\x10\x0F"
                   "123456789012345"},
        ScalarCase{"longString", std::string(300, 'x'), "\x5F\x11\x01\x2C" + std::string(300, 'x')},
        ScalarCase{"latin", "\xC3\xA9", {"\x61\x00\xE9", 3}},
        ScalarCase{"beyondBasicPlane", "\xF0\x9F\x98\x80", {"\x62\xD8\x3D\xDE\x00", 5}},
        ScalarCase{"emptyArray", PropertyList::Array(), "\xA0"},
        ScalarCase{"emptyDictionary", PropertyList::Dictionary(), "\xD0"}),
    [](const auto& tested) { return tested.param.name; });

TEST(PropertyListBinaryWriter, WritesKeysBeforeValues) {
  const std::string file = bytesOf(PropertyList::Dictionary{{"a", 1}, {"b", true}});
  EXPECT_EQ(file, (BinaryFile{.objects = {"\xD2\x01\x02\x03\x04",
                                          "\x51"
                                          "a",
                                          "\x51"
                                          "b",
                                          "\x10\x01", "\x09"},
                              .offsetWidth = 1}
                       .bytes()));
}

TEST(PropertyListBinaryWriter, WritesEqualScalarsOnce) {
  const std::string text(50, 's');
  const std::string file = bytesOf(PropertyList::Array{text, text, PropertyList::Array{text}});
  EXPECT_EQ(file.find(text), file.rfind(text));
  EXPECT_EQ(bytesOf(PropertyList::Dictionary{{"same", "same"}}),
            (BinaryFile{.objects = {"\xD1\x01\x01", "\x54same"}, .offsetWidth = 1}.bytes()));
}

TEST(PropertyListBinaryWriter, KeepsValuesOfDifferentTypesApart) {
  const PropertyList value =
      PropertyList::Array{1, 1.0, true, Date(1), "1", Data("1"), 0.0, -0.0, 0, false};
  const PropertyList read = valueOf(bytesOf(value));
  EXPECT_EQ(read, value);
  EXPECT_TRUE(std::signbit(*(*read.array())[7].real()));
  EXPECT_FALSE(std::signbit(*(*read.array())[6].real()));
}

TEST(PropertyListBinaryWriter, KeepsNumbersThatAreNone) {
  const PropertyList read =
      valueOf(bytesOf(PropertyList::Array{std::nan(""), HUGE_VAL, -HUGE_VAL}));
  EXPECT_TRUE(std::isnan(*(*read.array())[0].real()));
  EXPECT_EQ(*(*read.array())[1].real(), HUGE_VAL);
  EXPECT_EQ(*(*read.array())[2].real(), -HUGE_VAL);
}

TEST(PropertyListBinaryWriter, WidensReferencesAndOffsetsOnlyAsNeeded) {
  for (const auto& [count, width] :
       {std::pair{255, 1}, std::pair{256, 2}, std::pair{65535, 2}, std::pair{65536, 3}}) {
    PropertyList::Array array;
    for (int i = 0; i < count; ++i) {
      array.emplace_back(i);
    }
    const std::string file = bytesOf(array);
    EXPECT_EQ(file[file.size() - 25], width) << count;
    EXPECT_EQ(valueOf(file), PropertyList(array)) << count;
  }
}

TEST(PropertyListBinaryWriter, KeepsNulCharacters) {
  const PropertyList value(std::string("a\0b", 3));
  EXPECT_EQ(valueOf(bytesOf(value)), value);
}

TEST(PropertyListBinaryWriter, RefusesAnAbsentValueAnywhere) {
  EXPECT_EQ(writeErrorOf(PropertyList()), "an absent value");
  EXPECT_EQ(writeErrorOf(PropertyList::Array{1, PropertyList()}), "an absent value");
  EXPECT_EQ(writeErrorOf(PropertyList::Dictionary{{"k", PropertyList()}}),
            "an absent value under the key \"k\"");
  EXPECT_EQ(writeErrorOf(PropertyList::Dictionary{{"k", PropertyList::Array{"x", PropertyList()}}}),
            "an absent value under the key \"k\"");
}

TEST(PropertyListBinaryWriter, RefusesStringsThatAreNotUTF8) {
  for (const char* bad : {"\xFF", "\xC0\x80", "\xE0\x80\x80", "\xED\xA0\x80", "\xF4\x90\x80\x80",
                          "\xF0\x9F\x98", "a\x80", "\xC3"}) {
    EXPECT_THAT(writeErrorOf(bad), HasSubstr("not UTF-8"));
    EXPECT_THAT(writeErrorOf(PropertyList::Dictionary{{bad, 1}}), HasSubstr("not UTF-8"));
    EXPECT_THAT(writeErrorOf(PropertyList::Dictionary{{"outer", PropertyList::Array{bad}}}),
                HasSubstr("\"outer\""));
  }
}

TEST(PropertyListBinaryWriter, WritesToTheMaximumDepthAndNoDeeper) {
  const PropertyList deepest = nestedArrays(PropertyListSerialization::kMaximumDepth);
  EXPECT_EQ(valueOf(bytesOf(deepest)), deepest);
  EXPECT_EQ(writeErrorOf(nestedArrays(PropertyListSerialization::kMaximumDepth + 1)),
            "nested too deep");
}

TEST(PropertyListBinaryWriter, LeavesAnEarlierErrorInItsPlace) {
  std::optional<Error> error = makeError("Earlier", 7, "first");
  EXPECT_FALSE(PropertyListSerialization::binaryData(PropertyList(), &error));
  EXPECT_EQ(error->domain, "Earlier");
  EXPECT_FALSE(PropertyListSerialization::binaryData(PropertyList(), nullptr));
}

TEST(PropertyListBinaryWriter, SharesNoMoreThanItsReaderUnfolds) {
  // Shared without a limit, these 30 MB would be a file of 60 KB, and the reader would take that
  // for an attack.
  const PropertyList value = PropertyList::Array(60'000, PropertyList(std::string(500, 'x')));
  const std::string file = bytesOf(value);
  EXPECT_LT(file.size(), 15'000'000U);
  EXPECT_EQ(valueOf(file), value);
}

TEST(PropertyListBinaryWriter, SharesShortStringsWithoutLimit) {
  const PropertyList value = PropertyList::Array(400'000, PropertyList(std::string(50, 'x')));
  const std::string file = bytesOf(value);
  EXPECT_LT(file.size(), 401'000U);
  EXPECT_EQ(valueOf(file), value);
}

}  // namespace
}  // namespace velto
