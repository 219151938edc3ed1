// SPDX-License-Identifier: Apache-2.0
#include "platform/connection/CallReply.h"

#include <string>

#include <gtest/gtest.h>

namespace velto {
namespace {

using std::string_literals::operator""s;

/// Numbers up to `last`, one a part.
class Numbers : public ReplyBody {
 public:
  explicit Numbers(int last) : last_(last) {}
  void begin(std::string& text) override { text += "{["; }
  bool append(std::string& text) override {
    text += std::to_string(++number_);
    return number_ < last_;
  }
  void end(std::string& text, bool isLast) override { text += isLast ? "]!}" : "]}"; }

 private:
  const int last_;
  int number_ = 0;
};

/// All that there is to write, each part between bars.
std::string written(CallReply reply, bool more) {
  std::string output;
  while (!reply.isWritten()) {
    output += '|';
    reply.writeNext(output, more);
  }
  return output;
}

TEST(CallReply, isAMessageAtOnce) {
  EXPECT_EQ(written(CallReply::parameters(R"({"a":1})"), false), "|{\"parameters\":{\"a\":1}}\0"s);
  EXPECT_EQ(written(CallReply::parameters("{}"), true), "|{\"parameters\":{}}\0"s);
}

TEST(CallReply, isAMessageAPartForWhoTakesMore) {
  EXPECT_EQ(written(CallReply::parameters(std::make_unique<Numbers>(2)), true),
            "|{\"parameters\":{[1]},\"continues\":true}\0|{\"parameters\":{[2]!}}\0"s);
}

TEST(CallReply, isOneMessageOfAllPartsOtherwise) {
  EXPECT_EQ(written(CallReply::parameters(std::make_unique<Numbers>(3)), false),
            "|{\"parameters\":{[1|2|3]!}}\0"s);
}

/// Tells a message in two parts, and then nothing.
class TwoParts : public ReplyStream {
 public:
  Part append(std::string& text) override {
    if (told_ == 2) return Part::kNone;
    text += ++told_ == 1 ? "{[1" : ",2]}";
    return told_ == 1 ? Part::kMore : Part::kWhole;
  }
  void setListener(Listener& /*listener*/) override {}

 private:
  int told_ = 0;
};

TEST(CallReply, isMessagesWithoutAnEnd) {
  CallReply reply = CallReply::stream(std::make_unique<TwoParts>());
  std::string output;
  EXPECT_TRUE(reply.writeNext(output, true));
  EXPECT_EQ(output, "{\"parameters\":{[1");
  EXPECT_TRUE(reply.writeNext(output, true));
  EXPECT_EQ(output, "{\"parameters\":{[1,2]},\"continues\":true}\0"s);
  const std::string before = output;
  EXPECT_FALSE(reply.writeNext(output, true));
  EXPECT_EQ(output, before);
  EXPECT_FALSE(reply.isWritten());
}

TEST(CallReply, isAppended) {
  std::string output = "before";
  CallReply reply = CallReply::parameters("{}");
  reply.writeNext(output, false);
  EXPECT_EQ(output, "before{\"parameters\":{}}\0"s);
}

TEST(CallReply, isAnError) {
  EXPECT_EQ(written(CallReply::error("a.Bad", "name", "\"quoted\""), false),
            "|{\"error\":\"a.Bad\",\"parameters\":{\"name\":\"\\\"quoted\\\"\"}}\0"s);
  EXPECT_EQ(written(CallReply::error("a.Bad", "", ""), false),
            "|{\"error\":\"a.Bad\",\"parameters\":{}}\0"s);
}

TEST(CallReply, isNothingToWriteWithoutAnAnswer) {
  EXPECT_EQ(CallReply().kind(), CallReply::Kind::kNotOffered);
  EXPECT_TRUE(CallReply().isWritten());
  EXPECT_EQ(CallReply::lost().kind(), CallReply::Kind::kLost);
  EXPECT_TRUE(CallReply::lost().isWritten());
}

}  // namespace
}  // namespace velto
