// SPDX-License-Identifier: Apache-2.0
#include "client/CallText.h"

#include <cmath>
#include <limits>
#include <string>

#include <gtest/gtest.h>

namespace velto::alerts {
namespace {

Outcome<std::string> alertText(Value value) {
  const Alert alert{.attributes = Value::Dictionary{{"x", std::move(value)}}};
  return CallText().add("alert", alert).finish();
}

/// The JSON of a value of an attribute.
std::string textOf(Value value) {
  const std::string text = alertText(std::move(value)).value.value_or("refused");
  const std::string before = R"({"alert":{"attributes":{"x":)";
  return text.starts_with(before) ? text.substr(before.size(), text.size() - before.size() - 3)
                                  : text;
}

TEST(CallText, WritesValuesOfEveryKind) {
  EXPECT_EQ(textOf("a\"\n\x01é"), R"("a\"\n\u0001é")");
  EXPECT_EQ(textOf(std::numeric_limits<std::int64_t>::min()), "-9223372036854775808");
  EXPECT_EQ(textOf(std::numeric_limits<std::uint64_t>::max()), "18446744073709551615");
  EXPECT_EQ(textOf(2.0), "2.0");
  EXPECT_EQ(textOf(0.1), "0.1");
  EXPECT_EQ(textOf(false), "false");
  EXPECT_EQ(textOf(Date(-0.5)), R"({"$date":-0.5})");
  EXPECT_EQ(textOf(Data{0, 255}), R"({"$data":"AP8="})");
  EXPECT_EQ(textOf(Value::Array{1, "x", Value::Array()}), R"([1,"x",[]])");
  EXPECT_EQ(textOf(Value::Dictionary{{"a", 1}}), R"({"a":1})");
  EXPECT_EQ(textOf(Value::Dictionary{{"$a", 1}}), R"({"$dict":{"$a":1}})");
}

TEST(CallText, LeavesOutWhatIsAbsentUnlessItSaysSomething) {
  EXPECT_EQ(*alertText(Value()).value, R"({"alert":{"attributes":{}}})");
  EXPECT_EQ(CallText(CallText::Absent::kNull).add("a", Value::Dictionary{{"x", {}}}).finish().value,
            R"({"a":{"x":null}})");
  EXPECT_EQ(CallText().add("a", std::optional<std::string>()).finish().value, "{}");
}

Error refusal(const std::string& why) {
  return {.kind = ErrorKind::kInvalidArgument,
          .domain = kClientDomain,
          .code = static_cast<int>(ErrorKind::kInvalidArgument),
          .description = why};
}

TEST(CallText, RefusesWhatJSONCannotCarryAndSaysWhere) {
  EXPECT_EQ(alertText("\xff").error, refusal("alert.attributes.x is not UTF-8 text"));
  EXPECT_EQ(alertText(Value::Array{1, NAN}).error,
            refusal("alert.attributes.x[1] is not a finite number"));
  EXPECT_EQ(alertText(Date(INFINITY)).error, refusal("alert.attributes.x is not a finite number"));
  EXPECT_EQ(alertText(Value::Dictionary{{"\xff", 1}}).error,
            refusal("alert.attributes.x has a key that is not UTF-8 text"));
  EXPECT_EQ(CallText()
                .add("recipients", std::vector<MailRecipient>{{}, {.address = "\xc3"}})
                .finish()
                .error,
            refusal("recipients[1].address is not UTF-8 text"));
  EXPECT_EQ(CallText().add("settings", BundleSettingsMap{{"\xff", {}}}).finish().error,
            refusal("settings has a key that is not UTF-8 text"));
}

}  // namespace
}  // namespace velto::alerts
