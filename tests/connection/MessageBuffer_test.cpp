// SPDX-License-Identifier: Apache-2.0
#include "platform/connection/MessageBuffer.h"

#include <random>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace velto {
namespace {

using std::string_literals::operator""s;
using testing::ElementsAre;

/// The messages that are complete by now.
std::vector<std::string> takeAll(MessageBuffer& buffer) {
  std::vector<std::string> messages;
  while (const auto message = buffer.next()) {
    messages.emplace_back(*message);
  }
  buffer.keep();
  return messages;
}

TEST(MessageBuffer, cutsMessagesAtTheirNUL) {
  MessageBuffer buffer;
  const std::string bytes = "one\0\0three\0fo"s;
  buffer.add(bytes);
  EXPECT_THAT(takeAll(buffer), ElementsAre("one", "", "three"));
  EXPECT_EQ(buffer.size(), 2U);
}

TEST(MessageBuffer, joinsWhatArrivesInPortions) {
  MessageBuffer buffer;
  std::vector<std::string> messages;
  for (const auto& portion : {"he"s, "l"s, "lo\0w"s, "orld\0"s}) {
    buffer.add(portion);
    for (auto& message : takeAll(buffer)) {
      messages.push_back(std::move(message));
    }
  }
  EXPECT_THAT(messages, ElementsAre("hello", "world"));
  EXPECT_EQ(buffer.size(), 0U);
}

TEST(MessageBuffer, keepsABorrowedMessageThatWasNotTaken) {
  MessageBuffer buffer;
  {
    std::string borrowed = "first\0second\0"s;
    buffer.add(borrowed);
    EXPECT_EQ(buffer.next(), "first");
    buffer.keep();
    borrowed.assign(borrowed.size(), '!');
  }
  EXPECT_EQ(buffer.next(), "second");
}

TEST(MessageBuffer, givesAMessageAgainThatIsPutBack) {
  MessageBuffer buffer;
  {
    std::string borrowed = "first\0second\0th"s;
    buffer.add(borrowed);
    EXPECT_EQ(buffer.next(), "first");
    buffer.putBack(*buffer.next());
    buffer.keep();
    borrowed.assign(borrowed.size(), '!');
  }
  const auto second = buffer.next();
  EXPECT_EQ(second, "second");
  buffer.putBack(*second);
  buffer.add("ird\0"s);
  EXPECT_THAT(takeAll(buffer), ElementsAre("second", "third"));
}

TEST(MessageBuffer, givesTheSameMessagesHoweverTheBytesArePortioned) {
  std::mt19937 random(3);
  std::string bytes;
  std::vector<std::string> expected;
  for (std::size_t i = 0; i < 500; ++i) {
    expected.emplace_back(random() % 300, static_cast<char>('a' + i % 26));
    bytes.append(expected.back()).push_back('\0');
  }
  for (const std::size_t longest : {1U, 2U, 100U, 5000U}) {
    MessageBuffer buffer;
    std::vector<std::string> messages;
    for (std::size_t position = 0; position < bytes.size();) {
      const std::string portion = bytes.substr(position, 1 + random() % longest);
      buffer.add(portion);
      // Sometimes only a part of what is complete is taken before more comes.
      if (const auto message = buffer.next()) messages.emplace_back(*message);
      buffer.keep();
      position += portion.size();
    }
    for (auto& message : takeAll(buffer)) {
      messages.push_back(std::move(message));
    }
    EXPECT_EQ(messages, expected) << longest;
  }
}

}  // namespace
}  // namespace velto
