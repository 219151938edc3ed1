// SPDX-License-Identifier: Apache-2.0
// Notifications that a gateway asks to be sent again later.

#include <gmock/gmock.h>

#include "platform/push/RetryAfter.h"
#include "tests/push/PushTesting.h"

namespace velto {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Optional;
using ::testing::Pair;
using ::testing::UnorderedElementsAre;

// The reference date, in HTTP's words.
constexpr const char* kReferenceDate = "Mon, 01 Jan 2001 00:00:00 GMT";

class PushRetriesTest : public PushTest {
 protected:
  PushRetriesTest() { limits_.pause = milliseconds(1); }
};

TEST(RetryAfter, IsSecondsOrADate) {
  EXPECT_THAT(retryDelay("0", Date(0)), Optional(seconds(0)));
  EXPECT_THAT(retryDelay("120", Date(0)), Optional(seconds(120)));
  EXPECT_THAT(retryDelay(kReferenceDate, Date(-2.5)), Optional(milliseconds(2500)));
  EXPECT_THAT(retryDelay("Monday, 01-Jan-01 00:00:07 GMT", Date(0)), Optional(seconds(7)));
  EXPECT_THAT(retryDelay("Mon Jan  1 00:00:07 2001", Date(0)), Optional(seconds(7)));
}

TEST(RetryAfter, ADateInThePastIsNow) {
  EXPECT_THAT(retryDelay(kReferenceDate, Date(1e9)), Optional(seconds(0)));
}

TEST(RetryAfter, WhatIsFarAwayIsBounded) {
  const auto longest = retryDelay("99999999999", Date(0));
  EXPECT_THAT(longest, Optional(std::chrono::hours(24 * 7)));
  EXPECT_EQ(retryDelay(std::string(1000, '9'), Date(0)), longest);
  EXPECT_EQ(retryDelay(kReferenceDate, Date(-1e300)), longest);
}

TEST(RetryAfter, AnythingElseSaysNothing) {
  for (const char* value : {"", "-1", "1.5", "+1", "soon", "1 2", "0x10", "12 Jan"}) {
    EXPECT_EQ(retryDelay(value, Date(0)), std::nullopt) << value;
  }
}

TEST_F(PushRetriesTest, WhatTheGatewayWantsLaterIsSentAgain) {
  PushGateway gateway;
  setIdentity(gateway);
  const std::string date = std::string("retry 503 2 ") + kReferenceDate;
  EXPECT_THAT(send({"retry 429 1 0", "ok", "retry 503 3 0", date}).reports, IsEmpty());
  EXPECT_THAT(arrivals(gateway), UnorderedElementsAre(Pair("retry 429 1 0", 2), Pair("ok", 1),
                                                      Pair("retry 503 3 0", 4), Pair(date, 3)));
}

TEST_F(PushRetriesTest, NotBeforeTheTimeThatItNames) {
  PushGateway gateway;
  setIdentity(gateway);
  clock_.set(-0.25);
  const auto begin = PushReports::Clock::now();
  EXPECT_THAT(send({std::string("retry 429 1 ") + kReferenceDate}).reports, IsEmpty());
  EXPECT_GE(PushReports::Clock::now() - begin, milliseconds(250));
}

TEST_F(PushRetriesTest, AllTriesHaveTheSameTopic) {
  PushGateway gateway;
  setIdentity(gateway);
  EXPECT_THAT(send({"retry 429 1 0"}).reports, IsEmpty());
  const auto requests = gateway.requests();
  ASSERT_EQ(requests.size(), 2u);
  EXPECT_EQ(requests[0].at("headers"), requests[1].at("headers"));
  EXPECT_EQ(requests[0].at("body"), requests[1].at("body"));
}

TEST_F(PushRetriesTest, WhatIsLaterThanAnybodyWaitsIsReportedAtOnce) {
  PushGateway gateway;
  setIdentity(gateway);
  clock_.set(-3600);
  const std::string date = std::string("retry 503 1 ") + kReferenceDate;
  EXPECT_THAT(send({"retry 429 1 30", date}).reports,
              UnorderedElementsAre("429 try 1", "503 try 1"));
  EXPECT_THAT(arrivals(gateway), UnorderedElementsAre(Pair("retry 429 1 30", 1), Pair(date, 1)));
}

TEST_F(PushRetriesTest, OtherAnswersAreFinalWhateverTheyAskFor) {
  PushGateway gateway;
  setIdentity(gateway);
  EXPECT_THAT(send({"retry 500 1 0", "retry 429 1 soon", "status 429 later"}).reports,
              UnorderedElementsAre("500 try 1", "429 try 1", "429 later"));
}

TEST_F(PushRetriesTest, AnEndlessLaterEndsWithTheTimeOfTheCall) {
  limits_.total = milliseconds(500);
  PushGateway gateway;
  setIdentity(gateway);
  const auto reports = send({"retry 429 1000000 0"}).reports;
  EXPECT_THAT(reports, testing::SizeIs(1));
  EXPECT_THAT(arrivals(gateway), ElementsAre(Pair("retry 429 1000000 0", testing::Gt(1))));
}

TEST_F(PushRetriesTest, WhatWaitsIsGivenUpAtTheEnd) {
  PushGateway gateway;
  setIdentity(gateway);
  provider().sendPushNotification(Data("{}"), device("retry 429 1 25"), Data("1"), Date(0));
  while (gateway.requests().empty()) {
  }
  provider_.reset();
  EXPECT_EQ(gateway.requests().size(), 1u);
}

}  // namespace
}  // namespace velto
