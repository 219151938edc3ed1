// SPDX-License-Identifier: Apache-2.0
#include "platform/connection/VarlinkMessage.h"

#include <string>

#include <gtest/gtest.h>

namespace velto {
namespace {

TEST(VarlinkMessage, readsACall) {
  const auto call = VarlinkCall::parse(
      R"({"method":"a.B","parameters":{"x":1},"oneway":true,"more":true,"upgrade":true})");
  ASSERT_TRUE(call);
  EXPECT_EQ(call->method(), "a.B");
  EXPECT_EQ(call->parameters(), R"({"x":1})");
  EXPECT_TRUE(call->oneway());
  EXPECT_TRUE(call->more());
  EXPECT_TRUE(call->upgrade());
}

TEST(VarlinkMessage, takesAbsentAndNullForTheSame) {
  for (const auto* text :
       {R"({"method":"a.B"})",
        R"({"method":"a.B","parameters":null,"oneway":null,"more":null,"upgrade":null})",
        R"({"method":"a.B","parameters":{},"oneway":false,"more":false,"upgrade":false})"}) {
    const auto call = VarlinkCall::parse(text);
    ASSERT_TRUE(call) << text;
    EXPECT_EQ(call->parameters(), "{}");
    EXPECT_FALSE(call->oneway() || call->more() || call->upgrade()) << text;
  }
}

TEST(VarlinkMessage, passesOverExtensionsOfTheEnvelope) {
  EXPECT_TRUE(VarlinkCall::parse(R"({"method":"a.B","com.example.trace":{"id":7}})"));
}

TEST(VarlinkMessage, takesTheLastOfSeveralMembersOfOneName) {
  const auto call = VarlinkCall::parse(
      R"({"method":7,"parameters":[],"oneway":1,"method":"a.B","parameters": {"x" : 1} ,)"
      R"("oneway":true,"more":true,"more":null})");
  ASSERT_TRUE(call);
  EXPECT_EQ(call->method(), "a.B");
  EXPECT_EQ(call->parameters(), R"({"x" : 1})");
  EXPECT_TRUE(call->oneway());
  EXPECT_FALSE(call->more());
}

TEST(VarlinkMessage, readsNamesHoweverTheyAreWritten) {
  const auto call = VarlinkCall::parse(R"({"\u006dethod":"a\u002eB\/\ud83d\ude00"})");
  ASSERT_TRUE(call);
  EXPECT_EQ(call->method(), "a.B/\U0001f600");
}

class NoCall : public testing::TestWithParam<const char*> {};

TEST_P(NoCall, isRefused) {
  EXPECT_FALSE(VarlinkCall::parse(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(
    , NoCall,
    testing::Values("", "null", "[]", "\"a.B\"", "{}", R"({"parameters":{}})", R"({"method":null})",
                    R"({"method":7})", R"({"method":"a.B","parameters":[]})",
                    R"({"method":"a.B","parameters":"x"})", R"({"method":"a.B","oneway":1})",
                    R"({"method":"a.B","more":"true"})", R"({"method":"a.B","upgrade":{}})",
                    R"({"method":"a.B","extra":1})", R"({"method":"a.B","Method":"a.B"})",
                    R"({"method":"a.B","parameters":{"x":1e999}})",
                    R"({"method":"a.B","method":null})", R"({"method":"a.B"} {})"));

}  // namespace
}  // namespace velto
