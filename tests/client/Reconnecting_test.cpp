// SPDX-License-Identifier: Apache-2.0
// Connections that are lost, and calls that are repeated or not.
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <velto/Client.h>

#include "tests/client/ScriptedService.h"

namespace velto {
namespace {

using alerts::Client;
using alerts::ErrorKind;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;
using Answer = ScriptedService::Answer;

const Answer kDone{{reply("{}")}};
/// Hangs up with the call unanswered; the last of a conversation.
const Answer kLost{};
const Answer kHalf{{}, R"({"param)"};

class Reconnecting : public testing::Test {
 protected:
  void serve(std::vector<ScriptedService::Conversation> conversations) {
    service_.reset();
    service_ = std::make_unique<ScriptedService>(directory_, std::move(conversations));
  }

  const TemporaryDirectory directory_;
  std::unique_ptr<ScriptedService> service_;
  Client client_{{.socketPath = directory_.path() / "socket"}};
};

TEST_F(Reconnecting, OneConnectionServesCallAfterCall) {
  serve({{kDone, kDone, kDone}});
  EXPECT_TRUE(client_.postAlert({}));
  EXPECT_TRUE(client_.getAlertBundleNames());
  EXPECT_TRUE(client_.enableAlertBundle("b"));
  EXPECT_THAT(service_->calls(), SizeIs(3));
}

TEST_F(Reconnecting, ARestartedServiceIsFoundAgainAlsoByCallsThatChangeThings) {
  serve({{kDone}});
  EXPECT_TRUE(client_.postAlert({}));
  serve({{kDone}});
  EXPECT_TRUE(client_.postAlert({}));
  EXPECT_THAT(service_->calls(), SizeIs(1));
}

TEST_F(Reconnecting, ACallThatOnlyReadsIsRepeatedOnce) {
  serve({{kLost}, {Answer{{reply(R"({"names":["b"]})")}}}});
  EXPECT_THAT(*client_.getAlertBundleNames().value, ElementsAre("b"));
  serve({{kHalf}, {kHalf}, {kDone}});
  const auto twice = client_.getAlertBundleNames();
  ASSERT_TRUE(twice.error);
  EXPECT_EQ(twice.error->kind, ErrorKind::kConnectionLost);
  EXPECT_FALSE(twice.error->mayHaveBeenCarriedOut);
  EXPECT_THAT(service_->calls(), SizeIs(2));
}

TEST_F(Reconnecting, ACallThatChangesThingsIsRepeatedOnlyWhenTold) {
  serve({{kLost}, {kDone}});
  const auto outcome = client_.postAlert({});
  ASSERT_TRUE(outcome.error);
  EXPECT_EQ(outcome.error->kind, ErrorKind::kConnectionLost);
  EXPECT_TRUE(outcome.error->mayHaveBeenCarriedOut);
  EXPECT_THAT(service_->calls(), SizeIs(1));

  serve({{kLost}, {kDone}});
  EXPECT_TRUE(client_.postAlert({}, {.mayBeRepeated = true}));
  EXPECT_THAT(service_->calls(), SizeIs(2));
}

TEST_F(Reconnecting, ARepeatedCallThatFindsNobodyMayStillHaveBeenCarriedOut) {
  serve({{kLost}});
  const auto outcome = client_.postAlert({}, {.mayBeRepeated = true});
  ASSERT_TRUE(outcome.error);
  EXPECT_TRUE(outcome.error->mayHaveBeenCarriedOut);
}

TEST_F(Reconnecting, TheSecondAttemptDoesNotMakeTheFirstUndone) {
  serve({{kLost}, {}});  // the second is not even sent whole
  const std::string large(4000000, 'x');
  const auto outcome = client_.postAlert({.type = large}, {.mayBeRepeated = true});
  ASSERT_TRUE(outcome.error);
  EXPECT_THAT(outcome.error->description, HasSubstr("cannot send"));
  EXPECT_TRUE(outcome.error->mayHaveBeenCarriedOut);
}

TEST_F(Reconnecting, HalfACallIsRepeatedSinceItWasNeverCarriedOut) {
  // The first connection is hung up on before anything of the call is read.
  const std::string large(4000000, 'x');
  serve({{}, {kDone}});
  EXPECT_TRUE(client_.postAlert({.type = large}));
  EXPECT_THAT(service_->calls(), SizeIs(1));
}

TEST_F(Reconnecting, ACallThatIsTurnedAwayTwiceSaysHowLongItWas) {
  const std::string large(4000000, 'x');
  serve({{}, {}});
  const auto outcome = client_.postAlert({.type = large});
  ASSERT_TRUE(outcome.error);
  EXPECT_EQ(outcome.error->kind, ErrorKind::kConnectionLost);
  EXPECT_FALSE(outcome.error->mayHaveBeenCarriedOut);
  EXPECT_THAT(outcome.error->description, HasSubstr("4000021 bytes"));
}

TEST_F(Reconnecting, AListThatHasBegunIsNotRepeated) {
  serve({{Answer{{piece(R"({"alerts":[{"identifier":"a"}]})")}}}, {kDone}});
  const auto outcome = client_.getAlertsOfType("t");
  ASSERT_TRUE(outcome.error);
  EXPECT_EQ(outcome.error->kind, ErrorKind::kConnectionLost);
  ASSERT_TRUE(outcome.value);
  EXPECT_THAT(*outcome.value, SizeIs(1));
  EXPECT_THAT(service_->calls(), SizeIs(1));
}

TEST_F(Reconnecting, ACallWithinAnotherHasAConnectionOfItsOwn) {
  serve({{kDone}, {kDone}});
  const auto callAgain = [this](const std::string&) {
    EXPECT_TRUE(client_.postAlert({}));
    return true;
  };
  EXPECT_TRUE(client_.call("x.y.Z", "", callAgain));
  EXPECT_THAT(service_->calls(), ElementsAre(HasSubstr("x.y.Z"), HasSubstr("PostAlert")));
}

}  // namespace
}  // namespace velto
