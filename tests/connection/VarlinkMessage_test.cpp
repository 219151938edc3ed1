// SPDX-License-Identifier: Apache-2.0
#include "platform/connection/VarlinkMessage.h"

#include <string>

#include <boost/json/monotonic_resource.hpp>
#include <boost/json/serialize.hpp>
#include <gtest/gtest.h>

namespace velto {
namespace {

TEST(VarlinkMessage, readsACall) {
  const auto call = VarlinkCall::parse(
      R"({"method":"a.B","parameters":{"x":1},"oneway":true,"more":true,"upgrade":true})");
  ASSERT_TRUE(call);
  EXPECT_EQ(call->method(), "a.B");
  EXPECT_EQ(boost::json::serialize(call->parameters()), R"({"x":1})");
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
    EXPECT_TRUE(call->parameters().empty());
    EXPECT_FALSE(call->oneway() || call->more() || call->upgrade()) << text;
  }
}

TEST(VarlinkMessage, passesOverExtensionsOfTheEnvelope) {
  EXPECT_TRUE(VarlinkCall::parse(R"({"method":"a.B","com.example.trace":{"id":7}})"));
}

TEST(VarlinkMessage, outlivesItsTextAndUsesTheStorageGiven) {
  boost::json::monotonic_resource storage;
  std::string text = R"({"method":"a.long.enough.name.to.need.memory.of.its.own.B",)"
                     R"("parameters":{"x":"a long text that needs memory of its own, too"}})";
  const auto call = VarlinkCall::parse(text, &storage);
  text.assign(text.size(), '!');
  ASSERT_TRUE(call);
  EXPECT_EQ(call->method(), "a.long.enough.name.to.need.memory.of.its.own.B");
  EXPECT_EQ(call->parameters().at("x"), "a long text that needs memory of its own, too");
  EXPECT_EQ(call->parameters().storage().get(), &storage);
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
                    R"({"method":"a.B","parameters":{"x":1e999}})"));

}  // namespace
}  // namespace velto
