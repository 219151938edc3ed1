// SPDX-License-Identifier: Apache-2.0
#include "platform/foundation/Hexadecimal.h"

#include <cstdio>

#include <gtest/gtest.h>

namespace velto {
namespace {

TEST(Hexadecimal, EveryByteHasTwoDigitsOfEitherCase) {
  for (unsigned byte = 0; byte <= 0xFF; ++byte) {
    std::string lower = "x";
    std::string upper = "x";
    appendHexadecimal(lower, static_cast<std::uint8_t>(byte));
    appendHexadecimal(upper, static_cast<std::uint8_t>(byte), HexadecimalCase::kUpper);
    char digits[3];
    EXPECT_EQ(std::snprintf(digits, sizeof digits, "%02x", byte), 2);
    EXPECT_EQ(lower, "x" + std::string(digits));
    EXPECT_EQ(std::snprintf(digits, sizeof digits, "%02X", byte), 2);
    EXPECT_EQ(upper, "x" + std::string(digits));
  }
}

TEST(Hexadecimal, DataKeepsItsOrderAndItsZeros) {
  EXPECT_EQ(hexadecimal(Data(std::string_view("\x00\x01\xFE\x00", 4))), "0001fe00");
  EXPECT_EQ(hexadecimal(Data()), "");
}

}  // namespace
}  // namespace velto
