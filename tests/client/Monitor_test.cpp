// SPDX-License-Identifier: Apache-2.0
// The watching interface.
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <velto/Client.h>

#include "tests/client/ScriptedService.h"

namespace velto {
namespace {

using alerts::Client;
using alerts::Date;
using alerts::ErrorKind;
using testing::ElementsAre;
using testing::SizeIs;
using Answer = ScriptedService::Answer;

class Monitor : public testing::Test {
 protected:
  Client& clientOf(std::vector<std::string> replies) {
    service_ = std::make_unique<ScriptedService>(
        directory_, std::vector<ScriptedService::Conversation>{{Answer{std::move(replies)}}});
    client_ = std::make_unique<Client>(alerts::ClientOptions{.socketPath = service_->path()});
    return *client_;
  }
  /// The text of the only call, after the interface's name.
  std::string call() const {
    const auto calls = service_->calls();
    EXPECT_THAT(calls, SizeIs(1));
    const std::string before = R"({"method":"com.ulmora.velto.AlertsMonitor.)";
    EXPECT_TRUE(calls.at(0).starts_with(before)) << calls.at(0);
    return calls.at(0).substr(before.size());
  }

  const TemporaryDirectory directory_;
  std::unique_ptr<ScriptedService> service_;
  std::unique_ptr<Client> client_;
};

constexpr const char* kStatus =
    R"({"status":{"version":"1.2","startDate":5.5,"counts":{"alerts":3,"unread":2,"unresolved":1},
      "store":{"usable":false,"problem":"full","path":"/a","size":1,"logSize":2,"freeSize":3,
               "saves":4,"failedSaves":5},
      "channels":[{"name":"mail","delivered":1,"failed":2,"pending":3,"lastFailure":4.0,
                   "lastError":"no"},{"name":"push","delivered":0,"failed":0,"pending":0}],
      "connections":6,"calls":7,"served":8}})";

TEST_F(Monitor, TellsTheStatus) {
  const auto outcome = clientOf({reply(kStatus)}).getStatus();
  EXPECT_EQ(call(), R"(GetStatus","parameters":{}})");
  ASSERT_TRUE(outcome.value);
  const alerts::Status& status = *outcome.value;
  EXPECT_EQ(status.version, "1.2");
  EXPECT_EQ(status.startDate, Date(5.5));
  EXPECT_EQ(status.counts.alerts + status.counts.unread * 10 + status.counts.unresolved * 100, 123);
  EXPECT_FALSE(status.store.usable);
  EXPECT_EQ(status.store.problem, "full");
  EXPECT_EQ(status.store.path, "/a");
  EXPECT_EQ((std::vector{status.store.size, status.store.logSize, status.store.freeSize,
                         status.store.saves, status.store.failedSaves}),
            (std::vector<std::int64_t>{1, 2, 3, 4, 5}));
  ASSERT_THAT(status.channels, SizeIs(2));
  EXPECT_EQ(status.channels[0].name, alerts::ChannelName::kMail);
  EXPECT_EQ(status.channels[0].lastFailure, Date(4));
  EXPECT_EQ(status.channels[0].lastError, "no");
  EXPECT_EQ(status.channels[1].name, alerts::ChannelName::kPush);
  EXPECT_EQ(status.channels[1].lastFailure, std::nullopt);
  EXPECT_EQ((std::vector{status.connections, status.calls, status.served}),
            (std::vector<std::int64_t>{6, 7, 8}));
}

TEST_F(Monitor, ListsPages) {
  const auto outcome =
      clientOf({reply(R"({"items":[{"alert":{"identifier":"i"},"subject":"s"},{"alert":{}}],
                          "next":"n"})")})
          .list({.bundle = "b",
                 .type = "t",
                 .from = Date(1),
                 .to = Date(2),
                 .unread = true,
                 .unresolved = false,
                 .text = "x",
                 .locale = "de",
                 .limit = 20,
                 .after = "p"});
  EXPECT_EQ(call(), R"(List","parameters":{"bundle":"b","type":"t","from":1.0,"to":2.0,)"
                    R"("unread":true,"unresolved":false,"text":"x","locale":"de","limit":20,)"
                    R"("after":"p"}})");
  ASSERT_TRUE(outcome.value);
  ASSERT_THAT(outcome.value->items, SizeIs(2));
  EXPECT_EQ(outcome.value->items[0].alert.identifier, "i");
  EXPECT_EQ(outcome.value->items[0].subject, "s");
  EXPECT_EQ(outcome.value->items[1].subject, std::nullopt);
  EXPECT_EQ(outcome.value->next, "n");
}

TEST_F(Monitor, TellsAllOfOneAlert) {
  const auto outcome = clientOf({reply(R"({"alert":{"type":"t"},"subject":"s","message":"m",
                          "actions":[{"name":"Free","title":"Free space"}]})")})
                           .getAlert("i", "fr_CA");
  EXPECT_EQ(call(), R"(GetAlert","parameters":{"identifier":"i","locale":"fr_CA"}})");
  ASSERT_TRUE(outcome.value);
  EXPECT_EQ(outcome.value->alert.type, "t");
  EXPECT_EQ(outcome.value->subject, "s");
  EXPECT_EQ(outcome.value->message, "m");
  ASSERT_THAT(outcome.value->actions, SizeIs(1));
  EXPECT_EQ(outcome.value->actions[0].name, "Free");
  EXPECT_EQ(outcome.value->actions[0].title, "Free space");
}

TEST_F(Monitor, CountsTheHistory) {
  const auto outcome =
      clientOf(
          {reply(R"({"entries":[{"start":1,"bundle":"b","count":2},{"start":2.5,"count":1}]})")})
          .getHistory(Date(1), Date(9), 86400);
  EXPECT_EQ(call(), R"(GetHistory","parameters":{"from":1.0,"to":9.0,"step":86400.0}})");
  ASSERT_TRUE(outcome.value);
  ASSERT_THAT(*outcome.value, SizeIs(2));
  EXPECT_EQ(outcome.value->at(0).bundle, "b");
  EXPECT_EQ(outcome.value->at(0).count, 2);
  EXPECT_EQ(outcome.value->at(1).start, Date(2.5));
  EXPECT_EQ(outcome.value->at(1).bundle, std::nullopt);
}

TEST_F(Monitor, RepliesOfAnotherFormAreErrors) {
  for (const char* text : {"{}", R"({"status":null})", R"({"status":{}})", R"({"status":[]})"}) {
    const auto outcome = clientOf({reply(text)}).getStatus();
    ASSERT_TRUE(outcome.error) << text;
    EXPECT_EQ(outcome.error->kind, ErrorKind::kBadReply);
    EXPECT_EQ(outcome.value.has_value(), false);
  }
  std::string words = kStatus;
  words.replace(words.find("\"push\""), 6, "\"bush\"");
  EXPECT_EQ(clientOf({reply(words)}).getStatus().error->kind, ErrorKind::kBadReply);
  for (const char* text : {"{}", R"({"items":[{}]})", R"({"items":[{"alert":{},"subject":1}]})"}) {
    EXPECT_EQ(clientOf({reply(text)}).list({}).error->kind, ErrorKind::kBadReply) << text;
  }
  EXPECT_FALSE(clientOf({reply(R"({"alert":{}})")}).getAlert("i", {}));
  EXPECT_FALSE(clientOf({reply(R"({"entries":[{"start":1,"count":1.5}]})")})
                   .getHistory(Date(1), Date(2), 1));
}

}  // namespace
}  // namespace velto
