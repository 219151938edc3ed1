// SPDX-License-Identifier: Apache-2.0
// The search through the texts of a binary property list, without reading it.

#include <random>

#include <gmock/gmock.h>

#include "platform/propertylist/PropertyListBinaryReader.h"
#include "platform/propertylist/PropertyListUnicode.h"
#include "tests/propertylist/PropertyListTesting.h"

namespace velto {
namespace {

using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;
using ::testing::UnorderedElementsAreArray;

using Texts = std::vector<std::string>;

std::string textOf(std::string_view bytes, bool isASCII) {
  return isASCII ? std::string(bytes) : utf8FromUTF16(utf16FromBytes(bytes, true)).value_or("?");
}

/// All texts that are gone through; nothing when the bytes cannot be.
std::optional<Texts> textsIn(std::string_view bytes) {
  Texts texts;
  const auto found = PropertyListBinaryReader::anyText(bytes, [&](std::string_view text, bool is) {
    texts.push_back(textOf(text, is));
    return false;
  });
  EXPECT_NE(found, true);
  return found ? std::optional(texts) : std::nullopt;
}

TEST(PropertyListBinaryTexts, AreTheValuesAtAnyDepthAndNoKeys) {
  const PropertyList value = PropertyList::Dictionary{
      {"key", PropertyList("value")},
      {"größe", PropertyList("Größe 磁盘")},
      {"number", PropertyList(std::int64_t{7})},
      {"data", PropertyList(Data(std::string_view("no text")))},
      {"array",
       PropertyList(PropertyList::Array{
           PropertyList("one"), PropertyList(PropertyList::Dictionary{{"inner", "two"}})})}};
  EXPECT_THAT(textsIn(bytesOf(value)),
              testing::Optional(UnorderedElementsAre("value", "Größe 磁盘", "one", "two")));
}

TEST(PropertyListBinaryTexts, OfAKeyThatIsAValueTooIsFound) {
  const PropertyList value = PropertyList::Dictionary{{"same", PropertyList("same")}};
  EXPECT_THAT(textsIn(bytesOf(value)), testing::Optional(UnorderedElementsAre("same")));
}

TEST(PropertyListBinaryTexts, AreGoneThroughUntilOneIsFound) {
  const PropertyList value =
      PropertyList::Array{PropertyList("a"), PropertyList("b"), PropertyList("c")};
  Texts texts;
  EXPECT_EQ(PropertyListBinaryReader::anyText(bytesOf(value),
                                              [&](std::string_view text, bool) {
                                                texts.emplace_back(text);
                                                return text == "b";
                                              }),
            true);
  EXPECT_THAT(texts, testing::ElementsAre("a", "b"));
}

TEST(PropertyListBinaryTexts, OfOtherBytesAreNotKnown) {
  EXPECT_EQ(textsIn(""), std::nullopt);
  EXPECT_EQ(textsIn("{ key = value; }"), std::nullopt);
  EXPECT_EQ(textsIn("bplist00"), std::nullopt);
  const std::string whole = bytesOf(PropertyList::Dictionary{{"key", PropertyList("value")}});
  for (std::size_t size = 0; size < whole.size(); ++size) {
    EXPECT_EQ(textsIn(whole.substr(0, size)), std::nullopt) << size;
  }
}

TEST(PropertyListBinaryTexts, EndWhereAContainerContainsItselfOrNestsTooDeep) {
  EXPECT_EQ(textsIn(BinaryFile{{std::string("\xA1\x00", 2)}}.bytes()), std::nullopt);
  const int deepest = PropertyListSerialization::kMaximumDepth;
  EXPECT_THAT(textsIn(bytesOf(nestedArrays(deepest))), testing::Optional(IsEmpty()));
  // Each of many levels twice the one below.
  BinaryFile shared{{}};
  for (int level = 0; level < 100; ++level) {
    shared.objects.push_back(
        std::string({'\xA2', static_cast<char>(level + 1), static_cast<char>(level + 1)}));
  }
  shared.objects.push_back("\x51x");
  EXPECT_EQ(textsIn(shared.bytes()), std::nullopt);
}

TEST(PropertyListBinaryTexts, AreASCIIOnlyWhereThatIsSure) {
  const auto isSure = [](const PropertyList& value) {
    return PropertyListBinaryReader::hasASCIITextsOnly(bytesOf(value));
  };
  EXPECT_TRUE(isSure(PropertyList::Dictionary{{"key", PropertyList("value")}}));
  EXPECT_TRUE(isSure(PropertyList(std::int64_t{0x6060606060606060})));
  EXPECT_FALSE(isSure(PropertyList::Dictionary{{"key", PropertyList("größe")}}));
  EXPECT_FALSE(isSure(PropertyList::Dictionary{{"größe", PropertyList("value")}}));
  EXPECT_FALSE(PropertyListBinaryReader::hasASCIITextsOnly("{ key = value; }"));
  EXPECT_FALSE(PropertyListBinaryReader::hasASCIITextsOnly(""));
  BinaryFile odd{{"\x51x"}};
  odd.tableOffset = 8;
  EXPECT_FALSE(PropertyListBinaryReader::hasASCIITextsOnly(odd.bytes()));
}

/// The texts of a value that has been read.
void collect(const PropertyList& value, Texts& texts) {
  if (const auto* text = value.string()) {
    texts.push_back(*text);
  } else if (const auto* array = value.array()) {
    for (const auto& one : *array)
      collect(one, texts);
  } else if (const auto* dictionary = value.dictionary()) {
    for (const auto& [key, one] : *dictionary)
      collect(one, texts);
  }
}

PropertyList randomValue(std::mt19937& random, int depth) {
  switch (random() % (depth == 0 ? 4 : 6)) {
    case 0:
      return PropertyList(std::string(random() % 40, static_cast<char>('a' + random() % 3)));
    case 1:
      return PropertyList(random() % 2 == 0 ? "ä" : "Größe über alles, mehr als fünfzehn Zeichen");
    case 2:
      return PropertyList(static_cast<std::int64_t>(random()));
    case 3:
      return PropertyList(Date(static_cast<double>(random())));
    case 4: {
      PropertyList::Array array;
      for (auto count = random() % 5; count > 0; --count) {
        array.push_back(randomValue(random, depth - 1));
      }
      return PropertyList(std::move(array));
    }
    default: {
      PropertyList::Dictionary dictionary;
      for (auto count = random() % 5; count > 0; --count) {
        dictionary.emplace("key" + std::to_string(random() % 9), randomValue(random, depth - 1));
      }
      return PropertyList(std::move(dictionary));
    }
  }
}

TEST(PropertyListBinaryTexts, AreThoseThatReadingFinds) {
  std::mt19937 random(1);  // NOLINT(cert-msc51-cpp): the same each time
  for (int round = 0; round < 2000; ++round) {
    const PropertyList value = randomValue(random, 4);
    Texts expected;
    collect(value, expected);
    EXPECT_THAT(textsIn(bytesOf(value)), testing::Optional(UnorderedElementsAreArray(expected)));
  }
}

}  // namespace
}  // namespace velto
