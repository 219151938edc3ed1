// SPDX-License-Identifier: Apache-2.0
#include "platform/propertylist/PropertyListBinaryJSON.h"

#include <cstdint>
#include <limits>

#include <gtest/gtest.h>

#include "platform/propertylist/PropertyListJSON.h"
#include "platform/propertylist/PropertyListSerialization.h"

namespace velto {
namespace {

using Dictionary = PropertyList::Dictionary;
using Array = PropertyList::Array;

Data binary(const Dictionary& dictionary) {
  const auto data = PropertyListSerialization::binaryData(dictionary, nullptr);
  EXPECT_TRUE(data);
  return *data;
}

PropertyList nested(int depth) {
  return depth == 0 ? PropertyList("inside")
                    : PropertyList(Dictionary{{"deeper", nested(depth - 1)}});
}

TEST(PropertyListBinaryJSON, IsThatOfTheValue) {
  const Dictionary dictionary = {
      {"a text", "with \"quotes\", a \\ and\nlines"},
      {"b other text", "caf\xc3\xa9 \xe6\x97\xa5 \xf0\x9f\x98\x80"},
      {"c whole", Array{0, -1, 255, 65536, std::numeric_limits<std::int64_t>::min(),
                        std::numeric_limits<std::uint64_t>::max()}},
      {"d real", Array{0.5, -0.0, 1e300, 3.0, std::numeric_limits<double>::infinity()}},
      {"e truth", Array{true, false}},
      {"f date", Date(700000000.25)},
      {"g data", Data("\0\1\2\xff")},
      {"h none", Array{Dictionary{}, Array{}, ""}},
      {"i nested", nested(20)},
      {"j shared", Array{"inside", "inside", nested(2), nested(2)}}};
  std::string expected = "before ";
  std::string text = "before ";
  appendJSON(expected, dictionary);
  EXPECT_TRUE(appendPlainJSON(text, binary(dictionary).view()));
  EXPECT_EQ(text, expected);
}

TEST(PropertyListBinaryJSON, LeavesWhatIsNotPlainToTheReader) {
  const Dictionary cases[] = {{{"$date", 1}},
                              {{"key", Dictionary{{"$", 1}}}},
                              {{"caf\xc3\xa9", 1}},
                              {{"key", Array{Dictionary{{"caf\xc3\xa9", 1}}}}}};
  for (const Dictionary& dictionary : cases) {
    std::string text = "before";
    EXPECT_FALSE(appendPlainJSON(text, binary(dictionary).view()));
    EXPECT_EQ(text, "before");
  }
}

TEST(PropertyListBinaryJSON, IsOfDictionariesAlone) {
  for (const PropertyList& value : {PropertyList(Array{1}), PropertyList("text")}) {
    std::string text;
    const auto data = PropertyListSerialization::binaryData(value, nullptr);
    EXPECT_FALSE(appendPlainJSON(text, data->view()));
  }
}

TEST(PropertyListBinaryJSON, HasNoTextOfWhatIsCutOff) {
  const Data whole = binary({{"key", Array{"a text", 1, Dictionary{{"other", true}}}}});
  for (std::size_t size = 0; size < whole.size(); ++size) {
    std::string text;
    EXPECT_FALSE(appendPlainJSON(text, whole.view().substr(0, size)));
    EXPECT_EQ(text, "");
  }
}

/// An absent value, a marker that no value has, keys that are out of order, and a key and a value
/// that are not the ASCII they say, as no writer of ours leaves them.
TEST(PropertyListBinaryJSON, HasNoTextOfWhatTheWriterDoesNotMake) {
  const Data written = binary({{"a", true}, {"b", false}, {"c", "z"}});
  for (const auto& [from, to] : {std::pair('\x09', '\x00'),
                                 {'\x09', '\x0f'},
                                 {'b', 'a'},
                                 {'b', 'A'},
                                 {'c', '\xe9'},
                                 {'z', '\xe9'}}) {
    std::string bytes(written.view());
    const auto place = bytes.find(from, 8);
    ASSERT_NE(place, std::string::npos);
    bytes[place] = to;
    std::string text;
    EXPECT_FALSE(appendPlainJSON(text, bytes)) << from << to;
    EXPECT_EQ(text, "");
  }
}

}  // namespace
}  // namespace velto
