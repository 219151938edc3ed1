// SPDX-License-Identifier: Apache-2.0
#include "protocol/JSONCoding.h"

#include <cmath>
#include <limits>
#include <type_traits>

#include <boost/json.hpp>
#include <gtest/gtest.h>

#include "platform/json/JSONSyntax.h"
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

/// What a decoder makes of a text. Nothing when something is wrong; `path` is where.
template <typename T>
std::optional<T> decoded(std::string_view text, const ArgumentClasses* classes = nullptr,
                         std::string* path = nullptr) {
  EXPECT_TRUE(isJSON(text)) << text;
  JSONSource source{JSONCursor(text), MemoryBudget(kCallBudget)};
  T value{};
  WrongPath wrong;
  if constexpr (std::is_same_v<T, PropertyList>) {
    wrong = decodePropertyList(source, value);
  } else {
    wrong = decode(source, classes, value);
  }
  EXPECT_EQ(source.cursor.position(), text.size()) << text;
  if (!wrong) return value;
  if (path != nullptr) *path = *wrong;
  return std::nullopt;
}

template <typename T>
std::string wrongPath(std::string_view text, const ArgumentClasses* classes = nullptr) {
  std::string path;
  EXPECT_FALSE(decoded<T>(text, classes, &path)) << text;
  return path;
}

TEST(PropertyListJSON, EveryKindComesBackThroughText) {
  const PropertyList value = everyKind();
  const std::string text = asText(value);
  EXPECT_EQ(decoded<PropertyList>(text), value) << text;
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
    EXPECT_EQ(decoded<PropertyList>(text), value) << text;
  }
}

TEST(PropertyListJSON, RefusesWhatIsNoPropertyList) {
  for (const auto* text : {R"({"$date": "today"})", R"({"$date": 1, "x": 2})", R"({"$data": "a"})",
                           R"({"$data": "aGkh\n"})", R"({"$data": "a=Gk"})", R"({"$dict": []})",
                           R"({"$absent": false})", R"({"$unknown": 1})", R"([null])",
                           R"([{"$absent": true}])", R"({"a": [1, {"$date": null}]})"}) {
    EXPECT_EQ(decoded<PropertyList>(text), std::nullopt) << text;
  }
}

TEST(PropertyListJSON, OfSeveralMembersOfOneNameTheLastCounts) {
  const std::pair<std::string_view, std::optional<PropertyList>> rows[] = {
      {R"({"a": {"$what": 1}, "a": 2})", PropertyList::Dictionary{{"a", 2}}},
      {R"({"a": 2, "a": {"$what": 1}})", std::nullopt},
      {R"({"$date": "x", "$date": 2})", Date(2)},
      {R"({"$date": 2, "$date": "x"})", std::nullopt},
      {R"({"$date": 2, "$data": ""})", std::nullopt},
  };
  for (const auto& [text, value] : rows) {
    EXPECT_EQ(decoded<PropertyList>(text), value) << text;
  }
}

TEST(PropertyListJSON, TellsWhereSomethingIsWrong) {
  EXPECT_EQ(wrongPath<PropertyList>(R"({"a": [1, {"b": {"$date": null}}]})"), ".a[1].b");
  EXPECT_EQ(wrongPath<PropertyList>(R"({"a": 1, "$b": 2})"), "");
  EXPECT_EQ(wrongPath<PropertyList>("[[null]]"), "[0][0]");
  const std::string longName(300, 'n');
  EXPECT_EQ(wrongPath<PropertyList>("{\"" + longName + "\": [null]}"),
            "." + longName.substr(0, 256) + "…[0]");
}

TEST(JSONDecoding, TakesAlertsWhole) {
  VLAlert expected;
  expected.identifier = "i";
  expected.sentDate = Date(3);
  expected.readDate = Date(2.5);
  expected.attributes = PropertyList::Dictionary{{"a", 1}};
  EXPECT_EQ(decoded<VLAlert>(R"({"identifier": "i", "type": null, "sentDate": 3,
                                 "readDate": 2.5, "attributes": {"a": 1}})"),
            expected);
}

TEST(JSONDecoding, TellsWhichMemberDoesNotFit) {
  const std::pair<std::string_view, std::string_view> rows[] = {
      {R"({"identifier": 1})", ".identifier"},
      {R"({"type": ["a"]})", ".type"},
      {R"({"bundle": false})", ".bundle"},
      {R"({"sentDate": "now"})", ".sentDate"},
      {R"({"sentDate": true})", ".sentDate"},
      {R"({"attributes": []})", ".attributes"},
      {R"({"attributes": {"$date": 1}})", ".attributes"},
      {R"({"attributes": "a"})", ".attributes"},
      {R"({"type": 1, "later": null})", ".later"},
      {R"("alert")", ""},
      {"[]", ""},
      {"1", ""},
  };
  for (const auto& [text, path] : rows) {
    EXPECT_EQ(wrongPath<VLAlert>(text), path) << text;
  }
}

TEST(JSONDecoding, OfSeveralMembersOfOneNameTheLastCounts) {
  EXPECT_EQ(decoded<VLAlert>(R"({"type": 5, "type": "a"})")->type, "a");
  EXPECT_EQ(decoded<VLAlert>(R"({"type": "a", "type": null})")->type, std::nullopt);
  EXPECT_EQ(wrongPath<VLAlert>(R"({"type": "a", "type": 5})"), ".type");
}

std::vector<VLAlert> all(AlertSequence alerts) {
  std::vector<VLAlert> list;
  for (; const VLAlert* alert = alerts.current(nullptr); alerts.advance()) {
    list.push_back(*alert);
  }
  return list;
}

TEST(JSONDecoding, TheWhiteListSaysWhatAListOfAlertsHolds) {
  const ArgumentClasses classes{kVLAlertClass, kArrayClass};
  const auto sequence =
      decoded<AlertSequence>(R"([{"type": "a"}, [{"type": "b"}, []], {"type": "c"}])", &classes);
  ASSERT_TRUE(sequence);
  const std::vector<VLAlert> alerts = all(*sequence);
  ASSERT_EQ(alerts.size(), 2u) << "an array in the list is not kept";
  EXPECT_EQ(alerts[0].type, "a");
  EXPECT_EQ(alerts[1].type, "c");
  const std::pair<std::string_view, std::string_view> rows[] = {
      {R"(["a"])", "[0]"},           {"[{}, 1]", "[1]"}, {"[null]", "[0]"}, {"[[{}, 1]]", "[0][1]"},
      {R"([[["a"]]])", "[0][0][0]"}, {"{}", ""},
  };
  for (const auto& [text, path] : rows) {
    EXPECT_EQ(wrongPath<AlertSequence>(text, &classes), path) << text;
  }
  EXPECT_EQ(wrongPath<AlertSequence>("[[]]"), "[0]") << "without a white-list";
}

VLAlert numbered(int number) {
  VLAlert alert;
  alert.identifier = std::to_string(number);
  return alert;
}

TEST(JSONDecoding, ASequenceOfAlertsHasThemAllInOrder) {
  std::string text("[");
  for (int number = 0; number < 10000; ++number) {
    if (number % 1000 == 7) text += ",[{}]";
    text += (number == 0 ? "" : " , ") + asText(numbered(number));
  }
  const ArgumentClasses classes{kVLAlertClass, kArrayClass};
  const auto sequence = decoded<AlertSequence>(text += "]", &classes);
  ASSERT_TRUE(sequence);
  const std::vector<VLAlert> alerts = all(*sequence);
  ASSERT_EQ(alerts.size(), 10000u);
  for (std::size_t number = 0; number < alerts.size(); ++number) {
    EXPECT_EQ(alerts[number].identifier, std::to_string(number));
  }
}

TEST(JSONDecoding, TheWhiteListSaysWhatAListOfNewRecipientsHolds) {
  const ArgumentClasses classes{kStringClass, kDictionaryClass, kArrayClass};
  using List = std::vector<MailRecipientOrAddress>;
  EXPECT_EQ(decoded<List>(R"(["a@b.c", {"address": "d", "locale": null}, ["e", {"address": "f"}]])",
                          &classes),
            (List{std::string("a@b.c"), MailRecipient{"d", std::nullopt}}));
  const std::pair<std::string_view, std::string_view> rows[] = {
      {"[1]", "[0]"},
      {"[true]", "[0]"},
      {"[null]", "[0]"},
      {"[[1]]", "[0][0]"},
      {R"([{"address": 1}])", "[0].address"},
      {R"([{"note": "x"}])", "[0].note"},
      {R"([{"note": ["a", 1]}])", "[0].note"},
      {R"([{"locale": []}])", "[0].locale"},
  };
  for (const auto& [text, path] : rows) {
    EXPECT_EQ(wrongPath<List>(text, &classes), path) << text;
  }
  const ArgumentClasses addresses{kStringClass};
  EXPECT_EQ(wrongPath<List>(R"(["a", {"address": "b"}])", &addresses), "[1]");
}

TEST(JSONDecoding, APushRecipientsTokenIsBase64) {
  EXPECT_EQ(decoded<PushRecipient>(R"({"guid": "g", "token": "AQI=", "enabled": true})"),
            (PushRecipient{"g", Data("\x01\x02"), std::nullopt, std::nullopt, true}));
  EXPECT_EQ(wrongPath<PushRecipient>(R"({"token": "AQI"})"), ".token");
  EXPECT_EQ(wrongPath<PushRecipient>(R"({"enabled": 1})"), ".enabled");
}

TEST(JSONDecoding, NewPushRecipientsThatAreNoneAreNotKept) {
  using List = std::vector<std::optional<PushRecipient>>;
  const auto list = decoded<List>(R"(["g", {"guid": "g"}, 5, [], null])");
  ASSERT_TRUE(list);
  ASSERT_EQ(list->size(), 1u);
  EXPECT_EQ(list->capacity(), 1u);
  EXPECT_EQ(list->front()->guid, "g");
}

TEST(JSONDecoding, SettingsAreByBundle) {
  using Settings = std::map<std::string, AlertBundleSettings>;
  const auto settings = decoded<Settings>(R"({"Disk": {"mailEnabled": true}})");
  ASSERT_TRUE(settings);
  EXPECT_EQ(settings->at("Disk"), (AlertBundleSettings{std::nullopt, std::nullopt, true}));
  EXPECT_EQ(wrongPath<Settings>(R"({"Disk": null})"), ".Disk");
  EXPECT_EQ(wrongPath<Settings>(R"({"Disk": {"enabled": true}})"), ".Disk.enabled");
}

TEST(JSONEncoding, LeavesOutWhatIsAbsent) {
  EXPECT_EQ(asText(VLAlert()), "{}");
  EXPECT_EQ(asText(MailRecipient{"a", std::nullopt}), R"({"address":"a"})");
  EXPECT_EQ(json::parse(asText(makeError("D", 5, "why"))), json::parse(R"({"domain": "D", "code": 5,
                            "userInfo": {"NSLocalizedDescription": "why"}})"));
}

TEST(JSONEncoding, EveryValueReadsBack) {
  const PushRecipient recipient{"g", Data("\x01\x02"), "n", "fr", false};
  EXPECT_EQ(decoded<PushRecipient>(asText(recipient)), recipient);
  VLAlert alert;
  alert.sentDate = Date(817344000.123456);
  alert.attributes = PropertyList::Dictionary{{"all", everyKind()}};
  EXPECT_EQ(decoded<VLAlert>(asText(alert)), alert);
}

}  // namespace
}  // namespace velto
