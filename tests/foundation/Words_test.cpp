// SPDX-License-Identifier: Apache-2.0
#include "platform/foundation/Words.h"

#include <cstdint>
#include <string>

#include <gtest/gtest.h>

namespace velto {
namespace {

bool hasHighByte(std::string_view bytes) {
  return hasWord(bytes, [](std::uint64_t word) { return (word & inEachByte(0x80)) != 0; });
}

TEST(Words, HoldEveryByteOfATextAndNoOther) {
  for (std::size_t size = 0; size < 40; ++size) {
    const std::string around(size + 16, '\x80');
    std::string text = around;
    text.replace(8, size, size, 'a');
    EXPECT_FALSE(hasHighByte(std::string_view(text).substr(8, size))) << size;
    for (std::size_t place = 8; place < 8 + size; ++place) {
      text[place] = '\x80';
      EXPECT_TRUE(hasHighByte(std::string_view(text).substr(8, size))) << size << " " << place;
      text[place] = 'a';
    }
  }
}

TEST(Words, AreOfTheBytesAsTheyStand) {
  EXPECT_EQ(inEachByte(0x12), 0x1212121212121212U);
  const auto isAllOfA = [](std::uint64_t word) { return word == inEachByte('a'); };
  for (std::size_t size = 1; size < 30; ++size) {
    EXPECT_TRUE(hasWord(std::string(size, 'a'), isAllOfA)) << size;
    EXPECT_FALSE(hasWord(std::string(size, 'b'), isAllOfA)) << size;
  }
}

}  // namespace
}  // namespace velto
