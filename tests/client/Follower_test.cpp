// SPDX-License-Identifier: Apache-2.0
// Following the changes.
#include <chrono>
#include <future>
#include <poll.h>
#include <string>
#include <utility>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <velto/Client.h>

#include "tests/client/ScriptedService.h"

namespace velto {
namespace {

using alerts::Client;
using alerts::ErrorKind;
using alerts::EventKind;
using alerts::Follower;
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::SizeIs;
using Answer = ScriptedService::Answer;

const std::string kFirst = piece(R"({"sequence":7,"events":[]})");

class FollowerTest : public testing::Test {
 protected:
  /// Of a service that sends the replies and then leaves the connection as it is, or hangs up.
  Follower follow(std::vector<std::string> replies, bool hangsUp = false) {
    ScriptedService::Conversation conversation{Answer{std::move(replies)}};
    if (!hangsUp) conversation.emplace_back();
    service_ = std::make_unique<ScriptedService>(
        directory_, std::vector<ScriptedService::Conversation>{std::move(conversation)});
    auto outcome = Client({.socketPath = service_->path()}).follow("b", {});
    EXPECT_EQ(outcome.error, std::nullopt);
    return std::move(*outcome.value);
  }
  static bool isReadable(const Follower& follower) {
    pollfd wait{follower.descriptor(), POLLIN, 0};
    return ::poll(&wait, 1, 0) == 1;
  }
  static ErrorKind kindOf(const alerts::Outcome<alerts::Changes>& outcome) {
    EXPECT_TRUE(outcome.error);
    return outcome.error.value_or(alerts::Error()).kind;
  }

  const TemporaryDirectory directory_;
  std::unique_ptr<ScriptedService> service_;
};

TEST_F(FollowerTest, TellsChangesAsTheyCome) {
  Follower follower = follow({kFirst, piece(R"({"sequence":13,"events":[
        {"sequence":8,"kind":"added","identifier":"i","alert":{"identifier":"i"}},
        {"sequence":9,"kind":"changed","alert":{"identifier":"i","readDate":1}},
        {"sequence":10,"kind":"deleted","identifier":"i"},
        {"sequence":11,"kind":"settings"},{"sequence":12,"kind":"lost"}]})")});
  const auto first = follower.next();
  ASSERT_TRUE(first);
  EXPECT_EQ(first.value->sequence, 7);
  EXPECT_THAT(first.value->events, SizeIs(0));
  const auto second = follower.next();
  ASSERT_TRUE(second);
  const auto& events = second.value->events;
  ASSERT_THAT(events, SizeIs(5));
  EXPECT_EQ(events[0].sequence, 8);
  EXPECT_EQ(events[0].alert->identifier, "i");
  EXPECT_EQ(events[1].alert->readDate, alerts::Date(1));
  EXPECT_EQ(events[2].identifier, "i");
  EXPECT_EQ(events[2].alert, std::nullopt);
  std::vector<EventKind> kinds;
  for (const auto& event : events) {
    kinds.push_back(event.kind);
  }
  EXPECT_THAT(kinds, ElementsAre(EventKind::kAdded, EventKind::kChanged, EventKind::kDeleted,
                                 EventKind::kSettings, EventKind::kLost));
  EXPECT_THAT(service_->calls(), ElementsAre(R"({"method":"com.ulmora.velto.AlertsMonitor.Follow",)"
                                             R"("parameters":{"bundle":"b"},"more":true})"));
}

TEST_F(FollowerTest, ATimeOutIsNotTheEnd) {
  Follower follower = follow({kFirst});
  EXPECT_TRUE(follower.next());
  EXPECT_EQ(kindOf(follower.next(0ms)), ErrorKind::kTimedOut);
  EXPECT_EQ(kindOf(follower.next(10ms)), ErrorKind::kTimedOut);
  EXPECT_FALSE(isReadable(follower));
}

TEST_F(FollowerTest, ItsDescriptorTellsThatThereIsSomethingToRead) {
  Follower follower = follow({kFirst});
  pollfd wait{follower.descriptor(), POLLIN, 0};
  ASSERT_EQ(::poll(&wait, 1, 60000), 1);
  EXPECT_TRUE(follower.next(0ms));
  EXPECT_FALSE(isReadable(follower));
  follower.close();
  EXPECT_TRUE(isReadable(follower));
}

TEST_F(FollowerTest, IsClosedFromAnotherThreadOnceAndForAll) {
  Follower follower = follow({kFirst});
  EXPECT_TRUE(follower.next());
  auto end = std::async(std::launch::async, [&] { return kindOf(follower.next()); });
  follower.close();
  EXPECT_EQ(end.get(), ErrorKind::kClosed);
  EXPECT_EQ(kindOf(follower.next(0ms)), ErrorKind::kClosed);
}

TEST_F(FollowerTest, AServiceThatGoesAwayIsTold) {
  Follower follower = follow({kFirst}, true);
  EXPECT_TRUE(follower.next());
  EXPECT_EQ(kindOf(follower.next()), ErrorKind::kConnectionLost);
  EXPECT_EQ(kindOf(follower.next()), ErrorKind::kConnectionLost);
}

TEST_F(FollowerTest, TheLastChangesAreFollowedByTheEnd) {
  Follower follower = follow({reply(R"({"sequence":7,"events":[]})")});
  const auto only = follower.next();
  EXPECT_TRUE(only);
  EXPECT_EQ(only.value->sequence, 7);
  EXPECT_EQ(kindOf(follower.next()), ErrorKind::kConnectionLost);
}

TEST_F(FollowerTest, ARefusalAndNonsenseAreTheEnd) {
  EXPECT_EQ(kindOf(follow({wireError("com.ulmora.velto.AlertsMonitor.NotPermitted", "{}")}).next()),
            ErrorKind::kNotPermitted);
  for (const std::string& text :
       {std::string("x"), piece("{}"), piece(R"({"sequence":1})"),
        piece(R"({"sequence":1.5,"events":[]})"),
        piece(R"({"sequence":1,"events":[{"sequence":1,"kind":"more"}]})"),
        piece(R"({"sequence":1,"events":[{"kind":"lost"}]})")}) {
    Follower follower = follow({text, kFirst});
    EXPECT_EQ(kindOf(follower.next()), ErrorKind::kBadReply) << text;
    EXPECT_EQ(kindOf(follower.next()), ErrorKind::kBadReply) << text;
  }
}

TEST_F(FollowerTest, WithoutAServiceThereIsNothingToFollow) {
  const auto outcome = Client({.socketPath = directory_.path() / "socket"}).follow();
  EXPECT_FALSE(outcome.value);
  ASSERT_TRUE(outcome.error);
  EXPECT_EQ(outcome.error->kind, ErrorKind::kNoDaemon);
}

}  // namespace
}  // namespace velto
