// SPDX-License-Identifier: Apache-2.0
// Every operation: the call that goes out, and what is made of the reply.
#include <functional>
#include <limits>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <velto/Client.h>

#include "tests/client/ScriptedService.h"

namespace velto {
namespace {

using alerts::Alert;
using alerts::Client;
using alerts::Date;
using alerts::Value;
using testing::ElementsAre;
using testing::Pair;

struct Operation {
  std::string call;  ///< the text that goes out, from the method's name without its interface on
  std::function<std::optional<alerts::Error>(Client&)> make;
};

void PrintTo(const Operation& operation, std::ostream* stream) {
  *stream << operation.call;
}

class Operations : public testing::TestWithParam<Operation> {};

TEST_P(Operations, Call) {
  const TemporaryDirectory directory;
  const ScriptedService service(directory, {{{{reply("{}")}}}});
  Client client({.socketPath = service.path()});
  EXPECT_EQ(GetParam().make(client), std::nullopt);
  EXPECT_THAT(service.calls(),
              ElementsAre(R"({"method":"com.ulmora.velto.AlertsDaemon.)" + GetParam().call + "}"));
}

/// `name`, the parameters, and how it is called.
Operation row(const std::string& name, const std::string& parameters,
              std::function<std::optional<alerts::Error>(Client&)> make) {
  return {name + R"(","parameters":)" + parameters, std::move(make)};
}

Operation list(const std::string& name, const std::string& parameters,
               std::function<std::optional<alerts::Error>(Client&)> make) {
  return {name + R"(","parameters":)" + parameters + R"(,"more":true)", std::move(make)};
}

const alerts::AlertReceiver kAll = [](const std::vector<Alert>&) { return true; };

INSTANTIATE_TEST_SUITE_P(
    Alerts, Operations,
    testing::Values(
        row("PostAlert", R"({"alert":{"type":"t","bundle":"b"}})",
            [](Client& c) { return c.postAlert({.type = "t", .bundle = "b"}).error; }),
        row("SaveAlerts", R"({"alerts":[{"identifier":"i","sentDate":1.5},{}]})",
            [](Client& c) {
              return c.saveAlerts({{.identifier = "i", .sentDate = Date(1.5)}, {}}).error;
            }),
        row("MarkAlertAsReadWithAlertId", R"({"alertId":"i"})",
            [](Client& c) { return c.markAlertAsReadWithAlertId("i").error; }),
        row("MarkAlertAsResolvedWithAlertId", R"({"alertId":"i"})",
            [](Client& c) { return c.markAlertAsResolvedWithAlertId("i").error; }),
        row("PerformRecoveryAction", R"({"action":"Free","alertId":"i"})",
            [](Client& c) { return c.performRecoveryAction("Free", "i").error; }),
        list("GetAlertsFromDate", R"({"fromDate":-2.0})",
             [](Client& c) { return c.getAlertsFromDate(Date(-2), {}).error; }),
        list("GetAlertsFromDate", R"({"toDate":3.0})",
             [](Client& c) { return c.getAlertsFromDate({}, Date(3), kAll).error; }),
        list("GetAlertsOfType", R"({"type":"t"})",
             [](Client& c) { return c.getAlertsOfType("t").error; }),
        list("GetAlertsOfType", "{}",
             [](Client& c) { return c.getAlertsOfType(std::nullopt, kAll).error; }),
        list("GetAlertsOfBundle", R"({"bundle":"b"})",
             [](Client& c) { return c.getAlertsOfBundle("b").error; }),
        list("GetAlertsOfBundle", R"({"bundle":"\"é"})",
             [](Client& c) { return c.getAlertsOfBundle("\"é", kAll).error; }),
        row("GetLastAlertOfType", R"({"type":"t"})",
            [](Client& c) { return c.getLastAlertOfType("t").error; }),
        row("GetLastAlertOfBundle", R"({"bundle":"b"})",
            [](Client& c) { return c.getLastAlertOfBundle("b").error; }),
        row("DeleteAlertsBeforeDate", R"({"date":788918400.25})",
            [](Client& c) { return c.deleteAlertsBeforeDate(Date(788918400.25)).error; }),
        row("DeleteAlertsWithIds", R"({"alertIds":["a","b"]})",
            [](Client& c) {
              return c.deleteAlertsWithIds({"a", "b"}).error;
            }),
        row("DeleteUnsupportedAlerts", "{}",
            [](Client& c) { return c.deleteUnsupportedAlerts().error; })));

INSTANTIATE_TEST_SUITE_P(
    Settings, Operations,
    testing::Values(
        row("GetAttributes", "{}", [](Client& c) { return c.getAttributes().error; }),
        row("SetAttributes", R"({"attributes":{"a":"x","b":null}})",
            [](Client& c) {
              return c.setAttributes({{"a", "x"}, {"b", {}}}).error;
            }),
        row("EnableAlertBundle", R"({"bundle":"b"})",
            [](Client& c) { return c.enableAlertBundle("b").error; }),
        row("DisableAlertBundle", R"({"bundle":"b"})",
            [](Client& c) { return c.disableAlertBundle("b").error; }),
        row("GetAlertBundleNames", "{}", [](Client& c) { return c.getAlertBundleNames().error; }),
        row("GetAlertBundleSettings", "{}",
            [](Client& c) { return c.getAlertBundleSettings().error; }),
        row("SetAlertBundleSettings",
            R"({"settings":{"b":{"pushEnabled":false,"mailEnabled":true}}})",
            [](Client& c) {
              return c.setAlertBundleSettings({{"b", {.pushEnabled = false, .mailEnabled = true}}})
                  .error;
            }),
        row("GetMailRecipients", "{}", [](Client& c) { return c.getMailRecipients().error; }),
        row("SetMailRecipients", R"({"recipients":[]})",
            [](Client& c) { return c.setMailRecipients({}).error; }),
        row("AddMailRecipients", R"({"recipients":[{"address":"a@b","locale":"fr"}]})",
            [](Client& c) {
              return c.addMailRecipients({{.address = "a@b", .locale = "fr"}}).error;
            }),
        row("GetPushRecipients", "{}", [](Client& c) { return c.getPushRecipients().error; }),
        row("SetPushRecipients", R"({"recipients":[]})",
            [](Client& c) { return c.setPushRecipients({}).error; }),
        row("AddPushRecipients",
            R"({"recipients":[{"guid":"g","token":"3q0A","name":"n","locale":"de","enabled":true}]})",
            [](Client& c) {
              return c
                  .addPushRecipients({{.guid = "g",
                                       .token = alerts::Data{0xde, 0xad, 0},
                                       .name = "n",
                                       .locale = "de",
                                       .enabled = true}})
                  .error;
            })));

/// What a client makes of one reply.
class Replies : public testing::Test {
 protected:
  Client& clientOf(std::vector<std::string> replies) {
    service_ = std::make_unique<ScriptedService>(
        directory_, std::vector<ScriptedService::Conversation>{{{std::move(replies)}}});
    client_ = std::make_unique<Client>(alerts::ClientOptions{.socketPath = service_->path()});
    return *client_;
  }

 private:
  const TemporaryDirectory directory_;
  std::unique_ptr<ScriptedService> service_;
  std::unique_ptr<Client> client_;
};

TEST_F(Replies, HoldValuesOfEveryKind) {
  const auto outcome =
      clientOf({reply(R"({"alert":{"identifier":"i","sentDate":3,"readDate":null,"new":[],
        "attributes":{"text":"é\u0000","least":-9223372036854775808,"most":18446744073709551615,
          "odd":9007199254740993,"real":0.1,"whole":2.0,"small":5e-324,"yes":true,
          "date":{"$date":-0.5},"data":{"$data":"AP8="},"array":[1,"x",[]],
          "none":null,"dictionary":{"$dict":{"$date":"no"}}}}})")})
          .getLastAlertOfType("t");
  EXPECT_EQ(outcome.error, std::nullopt);
  ASSERT_TRUE(outcome.value);
  EXPECT_EQ(outcome.value->identifier, "i");
  EXPECT_EQ(outcome.value->sentDate, Date(3));
  EXPECT_EQ(outcome.value->readDate, std::nullopt);
  const Value::Dictionary expected = {{"text", std::string("é\0", 3)},
                                      {"least", std::numeric_limits<std::int64_t>::min()},
                                      {"most", std::numeric_limits<std::uint64_t>::max()},
                                      {"odd", std::int64_t{9007199254740993}},
                                      {"real", 0.1},
                                      {"whole", 2.0},
                                      {"small", 5e-324},
                                      {"yes", true},
                                      {"date", Date(-0.5)},
                                      {"data", alerts::Data{0, 255}},
                                      {"array", Value::Array{1, "x", Value::Array()}},
                                      {"none", Value()},
                                      {"dictionary", Value::Dictionary{{"$date", "no"}}}};
  EXPECT_EQ(outcome.value->attributes, expected);
}

TEST_F(Replies, ListsComeInPiecesAndWhole) {
  const std::vector<std::string> pieces = {piece(R"({"alerts":[{"identifier":"a"}]})"),
                                           piece(R"({"alerts":[]})"),
                                           reply(R"({"alerts":[{"identifier":"b"}]})")};
  std::vector<std::size_t> sizes;
  const auto count = [&sizes](const std::vector<Alert>& alerts) {
    sizes.push_back(alerts.size());
    return true;
  };
  EXPECT_TRUE(clientOf(pieces).getAlertsOfType("t", count));
  EXPECT_THAT(sizes, ElementsAre(1, 0, 1));
  const auto whole = clientOf(pieces).getAlertsOfBundle("b");
  EXPECT_TRUE(whole);
  EXPECT_EQ(whole.value, (std::vector<Alert>{{.identifier = "a"}, {.identifier = "b"}}));
}

TEST_F(Replies, WhoHasEnoughOfAListIsToldNoMore) {
  int pieces = 0;
  const auto first = [&pieces](const std::vector<Alert>&) { return ++pieces == 0; };
  EXPECT_TRUE(clientOf({piece(R"({"alerts":[]})"), piece(R"({"alerts":[]})"), reply("{}")})
                  .getAlertsOfType("t", first));
  EXPECT_EQ(pieces, 1);
}

TEST_F(Replies, APartComesAlongWithTheError) {
  const auto count = clientOf({reply(R"({"count":0,"error":{"domain":"AlertsDaemon","code":103,
        "userInfo":{"NSLocalizedDescription":"No rights.","a":[1]}}})")})
                         .deleteUnsupportedAlerts();
  EXPECT_EQ(count.value, 0);
  EXPECT_EQ(count.error, (alerts::Error{.kind = alerts::ErrorKind::kService,
                                        .domain = "AlertsDaemon",
                                        .code = 103,
                                        .description = "No rights.",
                                        .information = {{"NSLocalizedDescription", "No rights."},
                                                        {"a", Value::Array{1}}}}));

  const auto list = clientOf({piece(R"({"alerts":[{}]})"),
                              reply(R"({"error":{"domain":"d","code":-1,"userInfo":{}}})")})
                        .getAlertsOfType("t");
  EXPECT_EQ(list.value, std::vector<Alert>(1));
  ASSERT_TRUE(list.error);
  EXPECT_EQ(list.error->description, "d error -1");
}

TEST_F(Replies, HoldSettingsAndRecipients) {
  EXPECT_THAT(*clientOf({reply(R"({"attributes":{"a":"x"}})")}).getAttributes().value,
              ElementsAre(Pair("a", "x")));
  EXPECT_THAT(*clientOf({reply(R"({"names":["b","a"]})")}).getAlertBundleNames().value,
              ElementsAre("b", "a"));
  EXPECT_EQ(clientOf({reply(R"({"settings":{"b":{"name":"B","pushEnabled":true}}})")})
                .getAlertBundleSettings()
                .value,
            (alerts::BundleSettingsMap{{"b", {.name = "B", .pushEnabled = true}}}));
  EXPECT_THAT(*clientOf({reply(R"({"recipients":[{"address":"a@b"}]})")}).getMailRecipients().value,
              ElementsAre(alerts::MailRecipient{.address = "a@b"}));
  EXPECT_THAT(*clientOf({reply(R"({"recipients":[{"token":"3q0A"}]})")}).getPushRecipients().value,
              ElementsAre(alerts::PushRecipient{.token = alerts::Data{0xde, 0xad, 0}}));
  EXPECT_EQ(clientOf({reply(R"({"count":12})")}).deleteAlertsBeforeDate(Date(1)).value, 12);
}

TEST_F(Replies, OfAnyMethodAreText) {
  const auto outcome = clientOf({reply(R"({"a":[1,"é"],"b":1.5})")}).call("x.y.Z", "{}");
  EXPECT_EQ(outcome.value, "{\"a\":[1,\"é\"],\"b\":1.5E0}");
  EXPECT_TRUE(clientOf({reply(R"({"error":"what it means elsewhere"})")}).call("x.y.Z", "{}"));
  std::vector<std::string> texts;
  const auto collect = [&texts](const std::string& text) {
    texts.push_back(text);
    return true;
  };
  EXPECT_TRUE(clientOf({piece("{}"), reply(R"({"a":1})")}).call("x.y.Z", "", collect));
  EXPECT_THAT(texts, ElementsAre("{}", R"({"a":1})"));
}

}  // namespace
}  // namespace velto
