// SPDX-License-Identifier: Apache-2.0
#include "platform/propertylist/PropertyListBinaryReader.h"

#include <limits>
#include <ostream>
#include <random>

#include <gmock/gmock.h>

#include "tests/propertylist/PropertyListTesting.h"

namespace velto {
namespace {

using ::testing::HasSubstr;

std::string fileOf(const std::string& object) {
  return BinaryFile{.objects = {object}}.bytes();
}

struct ObjectCase {
  const char* name;
  std::string object;
  PropertyList value;

  friend void PrintTo(const ObjectCase& each, std::ostream* stream) { *stream << each.name; }
};

class ObjectReading : public ::testing::TestWithParam<ObjectCase> {};

TEST_P(ObjectReading, GivesTheValue) {
  EXPECT_EQ(valueOf(fileOf(GetParam().object)), GetParam().value);
}

// What the writer never writes, but other writers may.
INSTANTIATE_TEST_SUITE_P(
    All, ObjectReading,
    ::testing::Values(
        ObjectCase{"null", std::string(1, '\0'), PropertyList()},
        ObjectCase{"unsignedByte", "\x10\xFF", 255},
        ObjectCase{"unsignedTwoBytes", "\x11\xFF\xFF", 65535},
        ObjectCase{"unsignedFourBytes", "\x12\xFF\xFF\xFF\xFF", 4294967295U},
        ObjectCase{"signedEightBytes", "\x13\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFE", -2},
        ObjectCase{"wideSmall", "\x13" + bigEndian(5, 8), 5},
        ObjectCase{"sixteenBytesSmall", "\x14" + bigEndian(0, 8) + bigEndian(5, 8), 5},
        ObjectCase{"sixteenBytesLargest", "\x14" + bigEndian(0, 8) + bigEndian(~0ULL, 8),
                   std::numeric_limits<std::uint64_t>::max()},
        ObjectCase{"sixteenBytesNegative", "\x14" + bigEndian(~0ULL, 8) + bigEndian(~0ULL, 8), -1},
        ObjectCase{"sixteenBytesLowest", "\x14" + bigEndian(~0ULL, 8) + bigEndian(1ULL << 63, 8),
                   std::numeric_limits<std::int64_t>::min()},
        ObjectCase{"float", "\x22" + bigEndian(0x3FC00000, 4), 1.5},
        ObjectCase{"floatDate", "\x32" + bigEndian(0x3FC00000, 4), Date(1.5)},
        ObjectCase{"shortCountAsInteger", "\x5F\x10\x01z", "z"},
        ObjectCase{"wideCount", "\x4F\x13" + bigEndian(2, 8) + "ab", Data("ab")},
        ObjectCase{"UTF16ForASCII", {"\x61\x00z", 3}, "z"}, ObjectCase{"emptyUTF16", "\x60", ""}),
    [](const auto& tested) { return tested.param.name; });

struct BadObjectCase {
  const char* name;
  std::string object;
  const char* error;

  friend void PrintTo(const BadObjectCase& each, std::ostream* stream) { *stream << each.name; }
};

class BadObject : public ::testing::TestWithParam<BadObjectCase> {};

TEST_P(BadObject, IsAnErrorThatSaysWhatAndWhere) {
  EXPECT_EQ(readErrorOf(fileOf(GetParam().object)), GetParam().error);
}

INSTANTIATE_TEST_SUITE_P(
    All, BadObject,
    ::testing::Values(
        BadObjectCase{"fill", "\x0F", "a filler or unknown marker in place of a value at byte 8"},
        BadObjectCase{"simple", "\x0A", "a filler or unknown marker in place of a value at byte 8"},
        BadObjectCase{"UID", "\x80\x01", "a UID, which is no property-list value at byte 8"},
        BadObjectCase{"set", "\xC0", "a set, which is no property-list value at byte 8"},
        BadObjectCase{"unknownType", "\x70", "an object of unknown type at byte 8"},
        BadObjectCase{"beyond64Bits", "\x14" + bigEndian(1, 8) + bigEndian(0, 8),
                      "an integer beyond 64 bits at byte 8"},
        BadObjectCase{"below64Bits", "\x14" + bigEndian(~0ULL, 8) + bigEndian(1, 8),
                      "an integer beyond 64 bits at byte 8"},
        BadObjectCase{"hugeInteger", "\x15" + std::string(32, '\1'),
                      "an integer of unknown width at byte 8"},
        BadObjectCase{"narrowReal", "\x20\x01", "a real number of unknown width at byte 8"},
        BadObjectCase{"truncatedInteger", "\x13\x01",
                      "a value reaches beyond the objects at byte 9"},
        BadObjectCase{"truncatedReal", "\x23", "a value reaches beyond the objects at byte 9"},
        BadObjectCase{"truncatedString",
                      "\x54"
                      "abc",
                      "a value reaches beyond the objects at byte 9"},
        BadObjectCase{"truncatedArray", "\xA1", "a value reaches beyond the objects at byte 9"},
        BadObjectCase{"countIsMissing", "\x5F", "a count that is no integer at byte 9"},
        BadObjectCase{"countIsNoInteger", "\x5F\x09z", "a count that is no integer at byte 9"},
        BadObjectCase{"countIsTruncated", "\x5F\x13z",
                      "a value reaches beyond the objects at byte 10"},
        BadObjectCase{"countIsTooWide", "\x5F\x14" + bigEndian(0, 8) + bigEndian(1, 8) + "z",
                      "a count of unknown width at byte 9"},
        BadObjectCase{"countIsHuge", "\xAF\x13" + bigEndian(~0ULL, 8),
                      "a count beyond the objects at byte 8"},
        BadObjectCase{"countOverflows", "\xDF\x13" + bigEndian(1ULL << 63, 8),
                      "a count beyond the objects at byte 8"},
        BadObjectCase{"notASCII", "\x51\xE9", "an ASCII string with other bytes at byte 8"},
        BadObjectCase{"leadSurrogate", {"\x61\xD8\x3D", 3}, "an invalid UTF-16 string at byte 8"},
        BadObjectCase{"trailSurrogate", {"\x61\xDE\x00", 3}, "an invalid UTF-16 string at byte 8"},
        BadObjectCase{"swappedSurrogates",
                      {"\x62\xDE\x00\xD8\x3D", 5},
                      "an invalid UTF-16 string at byte 8"}),
    [](const auto& tested) { return tested.param.name; });

TEST(PropertyListBinaryReader, TakesEveryWidthOfOffsetsAndReferences) {
  for (std::size_t width = 1; width <= 8; ++width) {
    const BinaryFile file{
        .objects = {"\xA2" + bigEndian(1, width) + bigEndian(2, width), "\x09", "\x51z"},
        .offsetWidth = width,
        .referenceWidth = width};
    EXPECT_EQ(valueOf(file.bytes()), PropertyList(PropertyList::Array{true, "z"})) << width;
  }
}

TEST(PropertyListBinaryReader, StartsAtTheTopObject) {
  EXPECT_EQ(valueOf(BinaryFile{.objects = {"\x09", "\x10\x07"}, .topObject = 1}.bytes()),
            PropertyList(7));
}

TEST(PropertyListBinaryReader, RefusesATrailerThatContradictsTheFile) {
  const std::vector<std::string> one{"\x09"};
  for (const BinaryFile& file :
       {BinaryFile{.objects = one, .offsetWidth = 0}, BinaryFile{.objects = one, .offsetWidth = 9},
        BinaryFile{.objects = one, .referenceWidth = 0},
        BinaryFile{.objects = one, .referenceWidth = 9}, BinaryFile{.objects = {}},
        BinaryFile{.objects = one, .topObject = 1}, BinaryFile{.objects = one, .topObject = ~0ULL},
        BinaryFile{.objects = one, .objectCount = 2},
        BinaryFile{.objects = one, .objectCount = ~0ULL},
        BinaryFile{.objects = one, .tableOffset = 7}, BinaryFile{.objects = one, .tableOffset = 12},
        BinaryFile{.objects = one, .tableOffset = ~0ULL}}) {
    EXPECT_THAT(readErrorOf(file.bytes()), HasSubstr("the trailer contradicts the file"));
  }
}

TEST(PropertyListBinaryReader, RefusesOffsetsOutsideTheObjects) {
  for (const char offset : {'\x00', '\x07', '\x09', '\xFF'}) {
    std::string file = BinaryFile{.objects = {"\x09"}, .offsetWidth = 1}.bytes();
    file[9] = offset;
    EXPECT_EQ(readErrorOf(file), "the offset of an object lies outside the objects at byte 9");
  }
}

TEST(PropertyListBinaryReader, RefusesReferencesToNoObject) {
  EXPECT_EQ(readErrorOf(fileOf("\xA1\x01")), "a reference to no object at byte 9");
}

TEST(PropertyListBinaryReader, RefusesKeysThatAreNoStrings) {
  for (const char* key : {"\x09", "\x10\x01", "\xA0", "\x41z"}) {
    EXPECT_EQ(readErrorOf(BinaryFile{.objects = {"\xD1\x01\x02", key, "\x09"}}.bytes()),
              "a dictionary key that is no string at byte 8");
  }
}

TEST(PropertyListBinaryReader, LetsTheLastOfEqualKeysWin) {
  const BinaryFile file{.objects = {"\xD2\x01\x01\x02\x03", "\x51k", "\x08", "\x09"}};
  EXPECT_EQ(valueOf(file.bytes()), PropertyList(PropertyList::Dictionary{{"k", true}}));
}

TEST(PropertyListBinaryReader, RefusesCycles) {
  EXPECT_EQ(readErrorOf(fileOf(std::string("\xA1\x00", 2))),
            "a container that contains itself at byte 8");
  const BinaryFile indirect{.objects = {"\xA1\x01", {"\xD1\x02\x00", 3}, "\x51k"}};
  EXPECT_EQ(readErrorOf(indirect.bytes()), "a container that contains itself at byte 8");
}

TEST(PropertyListBinaryReader, UnfoldsSharedContainers) {
  const BinaryFile file{.objects = {"\xA2\x01\x01", "\xA1\x02", "\x51z"}};
  const PropertyList inner = PropertyList::Array{"z"};
  EXPECT_EQ(valueOf(file.bytes()), PropertyList(PropertyList::Array{inner, inner}));
}

/// Arrays that each hold the next one `times` times.
std::string foldedFile(std::size_t levels, std::size_t times) {
  BinaryFile file;
  for (std::size_t i = 1; i < levels; ++i) {
    file.objects.push_back(bigEndian(0xA0 + times, 1) +
                           std::string(times, static_cast<char>(static_cast<unsigned char>(i))));
  }
  file.objects.push_back("\x09");
  return file.bytes();
}

TEST(PropertyListBinaryReader, RefusesSharedObjectsThatExplode) {
  EXPECT_THAT(readErrorOf(foldedFile(40, 2)), HasSubstr("unfold to too much"));
  EXPECT_THAT(readErrorOf(foldedFile(250, 14)), HasSubstr("unfold to too much"));
}

TEST(PropertyListBinaryReader, UnfoldsWhatIsModest) {
  const PropertyList value = valueOf(foldedFile(13, 2));
  EXPECT_EQ(value.array()->size(), 2U);
}

TEST(PropertyListBinaryReader, RefusesALongStringSharedTooOften) {
  BinaryFile file{.objects = {"\xAF\x11" + bigEndian(60'000, 2) + std::string(60'000, '\1'),
                              "\x5F\x12" + bigEndian(100'000, 4) + std::string(100'000, 'x')},
                  .offsetWidth = 3};
  EXPECT_THAT(readErrorOf(file.bytes()), HasSubstr("unfold to too much"));
}

TEST(PropertyListBinaryReader, ReservesNothingForOverlappingContainers) {
  // 500 arrays whose references are the same bytes: each would reserve room for all of them.
  BinaryFile file{.objects = {}, .offsetWidth = 3, .referenceWidth = 2};
  for (std::uint64_t i = 0; i < 500; ++i) {
    file.objects.push_back("\xAF\x12" + bigEndian(150'000, 4));
  }
  file.objects.push_back(repeated(bigEndian(1, 2), 200'000));
  EXPECT_FALSE(readErrorOf(file.bytes()).empty());
}

TEST(PropertyListBinaryReader, ReadsToTheMaximumDepthAndNoDeeper) {
  const auto nested = [](std::size_t depth) {
    BinaryFile file{.objects = {}, .offsetWidth = 2, .referenceWidth = 2};
    for (std::size_t i = 1; i < depth; ++i) {
      file.objects.push_back("\xA1" + bigEndian(i, 2));
    }
    file.objects.push_back("\xA0");
    return file.bytes();
  };
  EXPECT_EQ(valueOf(nested(PropertyListSerialization::kMaximumDepth)),
            nestedArrays(PropertyListSerialization::kMaximumDepth));
  EXPECT_THAT(readErrorOf(nested(PropertyListSerialization::kMaximumDepth + 1)),
              HasSubstr("nested too deep"));
  EXPECT_THAT(readErrorOf(nested(60'000)), HasSubstr("nested too deep"));
}

PropertyList sampleValue() {
  return PropertyList::Dictionary{
      {"text", "caf\xC3\xA9"},
      {"list", PropertyList::Array{1, -1, 1.5, true, Date(12.25), Data("abc")}},
      {"inner", PropertyList::Dictionary{{"text", std::string(40, 'x')}}}};
}

TEST(PropertyListBinaryReader, RefusesEveryTruncation) {
  const std::string file = bytesOf(sampleValue());
  for (std::size_t size = 7; size < file.size(); ++size) {
    EXPECT_FALSE(readErrorOf(file.substr(0, size)).empty()) << size;
  }
}

TEST(PropertyListBinaryReader, GivesAValueOrAnErrorForAnyChange) {
  const std::string file = bytesOf(sampleValue());
  std::mt19937 random(20010101);
  for (int i = 0; i < 20'000; ++i) {
    std::string changed = file;
    for (int k = 0; k < 3; ++k) {
      changed[7 + random() % (changed.size() - 7)] = static_cast<char>(random() & 0xFF);
    }
    std::optional<Error> error;
    const auto value = PropertyListSerialization::propertyList(Data(changed), &error);
    ASSERT_NE(value.has_value(), error.has_value());
  }
}

}  // namespace
}  // namespace velto
