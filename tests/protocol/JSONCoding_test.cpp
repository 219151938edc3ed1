// SPDX-License-Identifier: Apache-2.0
#include "protocol/JSONCoding.h"

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "tests/foundation/JSONTesting.h"

namespace velto {
namespace {

namespace json = boost::json;

PropertyList::Array everyKind() {
  return {"text",
          "Größe",
          -1,
          std::uint64_t{18446744073709551615u},
          0.1,
          5.0,
          true,
          false,
          Date(0.25),
          Data(std::string_view("\0\x01\xff", 3)),
          PropertyList::Array{},
          PropertyList::Dictionary{{"k", "v"}}};
}

TEST(PropertyListJSON, EveryKindComesBackThroughText) {
  const PropertyList value = everyKind();
  const std::string text = asText(value);
  EXPECT_EQ(propertyListFromJSON(json::parse(text)), value) << text;
}

TEST(PropertyListJSON, WritesTheReservedForms) {
  const std::pair<PropertyList, std::string_view> rows[] = {
      {Date(1.5), R"({"$date":1.5})"},
      {Data(std::string_view("hi!")), R"({"$data":"aGkh"})"},
      {PropertyList::Dictionary{{"$x", 1}}, R"({"$dict":{"$x":1}})"},
      {PropertyList::Dictionary{{"a", PropertyList()}, {"b", 1}}, R"({"b":1})"},
      {std::numeric_limits<double>::infinity(), "null"},
  };
  for (const auto& [value, text] : rows) {
    EXPECT_EQ(asText(value), text);
  }
}

TEST(PropertyListJSON, ReadsTheReservedForms) {
  const std::pair<std::string_view, PropertyList> rows[] = {
      {R"({"$date": 7})", Date(7)},
      {R"({"$data": ""})", Data()},
      {R"({"$dict": {"$date": 1}})", PropertyList::Dictionary{{"$date", 1}}},
      {R"({"$dict": {"a": {"$date": 1}}})", PropertyList::Dictionary{{"a", Date(1)}}},
      {R"({"a": null})", PropertyList::Dictionary{{"a", PropertyList()}}},
      {R"({"a": {"$absent": true}})", PropertyList::Dictionary{{"a", PropertyList()}}},
  };
  for (const auto& [text, value] : rows) {
    EXPECT_EQ(propertyListFromJSON(json::parse(text)), value) << text;
  }
}

TEST(PropertyListJSON, RefusesWhatIsNoPropertyList) {
  for (const auto* text : {R"({"$date": "today"})", R"({"$date": 1, "x": 2})", R"({"$data": "a"})",
                           R"({"$data": "aGkh\n"})", R"({"$data": "a=Gk"})", R"({"$dict": []})",
                           R"({"$absent": false})", R"({"$unknown": 1})", R"([null])",
                           R"([{"$absent": true}])", R"({"a": [1, {"$date": null}]})"}) {
    EXPECT_EQ(propertyListFromJSON(json::parse(text)), std::nullopt) << text;
  }
}

template <typename T>
bool decodes(std::string_view text, const ArgumentClasses* classes = nullptr) {
  T value;
  return decode(json::parse(text), classes, value);
}

TEST(JSONDecoding, TakesAlertsWhole) {
  VLAlert alert;
  ASSERT_TRUE(decode(json::parse(R"({"identifier": "i", "type": null, "sentDate": 3,
                                     "readDate": 2.5, "attributes": {"a": 1}, "later": true})"),
                     nullptr, alert));
  VLAlert expected;
  expected.identifier = "i";
  expected.sentDate = Date(3);
  expected.readDate = Date(2.5);
  expected.attributes = PropertyList::Dictionary{{"a", 1}};
  EXPECT_EQ(alert, expected);
}

TEST(JSONDecoding, RefusesMembersOfAnotherType) {
  for (const auto* text :
       {R"({"identifier": 1})", R"({"type": ["a"]})", R"({"bundle": false})",
        R"({"sentDate": "now"})", R"({"sentDate": true})", R"({"attributes": []})",
        R"({"attributes": {"$date": 1}})", R"({"attributes": "a"})", R"("alert")", "[]", "1"}) {
    EXPECT_FALSE(decodes<VLAlert>(text)) << text;
  }
}

TEST(JSONDecoding, TheWhiteListSaysWhatAListOfAlertsHolds) {
  const ArgumentClasses classes{kVLAlertClass, kArrayClass};
  std::vector<VLAlert> alerts;
  ASSERT_TRUE(decode(json::parse(R"([{"type": "a"}, [{"type": "b"}, []], {"type": "c"}])"),
                     &classes, alerts));
  ASSERT_EQ(alerts.size(), 2u) << "an array in the list is passed over";
  EXPECT_EQ(alerts[0].type, "a");
  EXPECT_EQ(alerts[1].type, "c");
  for (const auto* text : {R"(["a"])", "[1]", "[null]", "[[1]]", R"([[["a"]]])", "{}"}) {
    EXPECT_FALSE(decodes<std::vector<VLAlert>>(text, &classes)) << text;
  }
  EXPECT_FALSE(decodes<std::vector<VLAlert>>("[[]]")) << "without a white-list";
}

TEST(JSONDecoding, TheWhiteListSaysWhatAListOfNewRecipientsHolds) {
  const ArgumentClasses classes{kStringClass, kDictionaryClass, kArrayClass};
  using List = std::vector<MailRecipientOrAddress>;
  List list;
  ASSERT_TRUE(decode(json::parse(R"(["a@b.c", {"address": "d", "locale": null, "note": "x"},
                                     ["e", {"address": "f"}]])"),
                     &classes, list));
  EXPECT_EQ(list, (List{std::string("a@b.c"), MailRecipient{"d", std::nullopt}}));
  for (const auto* text : {"[1]", "[true]", "[null]", "[[1]]", R"([{"address": 1}])",
                           R"([{"note": 1}])", R"([{"note": ["a", 1]}])", R"([{"locale": []}])"}) {
    EXPECT_FALSE(decodes<List>(text, &classes)) << text;
  }
}

TEST(JSONDecoding, APushRecipientsTokenIsBase64) {
  PushRecipient recipient;
  ASSERT_TRUE(decode(json::parse(R"({"guid": "g", "token": "AQI=", "enabled": true})"), nullptr,
                     recipient));
  EXPECT_EQ(recipient, (PushRecipient{"g", Data("\x01\x02"), std::nullopt, std::nullopt, true}));
  EXPECT_FALSE(decodes<PushRecipient>(R"({"token": "AQI"})"));
  EXPECT_FALSE(decodes<PushRecipient>(R"({"enabled": 1})"));
}

TEST(JSONDecoding, NewPushRecipientsThatAreNoneAreAbsent) {
  std::vector<std::optional<PushRecipient>> list;
  ASSERT_TRUE(decode(json::parse(R"(["g", {"guid": "g"}, 5, []])"), nullptr, list));
  ASSERT_EQ(list.size(), 4u);
  EXPECT_EQ(list[0], std::nullopt);
  EXPECT_EQ(list[1]->guid, "g");
}

TEST(JSONDecoding, SettingsAreByBundle) {
  std::map<std::string, AlertBundleSettings> settings;
  ASSERT_TRUE(
      decode(json::parse(R"({"Disk": {"mailEnabled": true, "enabled": 1}})"), nullptr, settings));
  EXPECT_EQ(settings["Disk"], (AlertBundleSettings{std::nullopt, std::nullopt, true}));
  EXPECT_FALSE((decodes<std::map<std::string, AlertBundleSettings>>(R"({"Disk": null})")));
}

TEST(JSONEncoding, LeavesOutWhatIsAbsent) {
  EXPECT_EQ(asText(VLAlert()), "{}");
  EXPECT_EQ(asText(MailRecipient{"a", std::nullopt}), R"({"address":"a"})");
  EXPECT_EQ(json::parse(asText(makeError("D", 5, "why"))), json::parse(R"({"domain": "D", "code": 5,
                            "userInfo": {"NSLocalizedDescription": "why"}})"));
}

TEST(JSONEncoding, EveryValueReadsBack) {
  const PushRecipient recipient{"g", Data("\x01\x02"), "n", "fr", false};
  PushRecipient back;
  ASSERT_TRUE(decode(json::parse(asText(recipient)), nullptr, back));
  EXPECT_EQ(back, recipient);
  VLAlert alert;
  alert.sentDate = Date(817344000.123456);
  alert.attributes = PropertyList::Dictionary{{"all", everyKind()}};
  VLAlert alertBack;
  ASSERT_TRUE(decode(json::parse(asText(alert)), nullptr, alertBack));
  EXPECT_EQ(alertBack, alert);
}

}  // namespace
}  // namespace velto
