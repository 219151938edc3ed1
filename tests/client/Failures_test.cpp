// SPDX-License-Identifier: Apache-2.0
// Why calls fail: every kind of error, and replies that are none.
#include <chrono>
#include <filesystem>
#include <string>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <velto/Client.h>

#include "tests/client/ScriptedService.h"
#include "tests/support/SkipOrFail.h"

namespace velto {
namespace {

using alerts::Client;
using alerts::ErrorKind;
using std::string_literals::operator""s;
using namespace std::chrono_literals;
using testing::HasSubstr;
using Answer = ScriptedService::Answer;
using Conversation = ScriptedService::Conversation;

class Failures : public testing::Test {
 protected:
  ScriptedService& serve(std::vector<Conversation> conversations) {
    service_ = std::make_unique<ScriptedService>(directory_, std::move(conversations));
    return *service_;
  }
  Client client() const { return Client({.socketPath = directory_.path() / "socket"}); }
  alerts::Error errorOfReading(std::vector<Conversation> conversations) {
    serve(std::move(conversations));
    return client().getAlertBundleNames().error.value_or(alerts::Error{.description = "none"});
  }
  alerts::Error errorOfPosting(std::vector<Conversation> conversations) {
    serve(std::move(conversations));
    return client().postAlert({}).error.value_or(alerts::Error{.description = "none"});
  }

  const TemporaryDirectory directory_;
  std::unique_ptr<ScriptedService> service_;
};

TEST_F(Failures, NobodyServesTheSocket) {
  const auto absent = client().getStatus();
  ASSERT_TRUE(absent.error);
  EXPECT_EQ(absent.error->kind, ErrorKind::kNoDaemon);
  EXPECT_EQ(absent.error->domain, "libvlalerts");
  EXPECT_EQ(absent.error->code, 10);
  EXPECT_EQ(absent.error->description, "cannot connect to " +
                                           (directory_.path() / "socket").string() +
                                           ": No such file or directory");
  EXPECT_FALSE(absent.error->mayHaveBeenCarriedOut);

  serve({{Answer{}}});  // which takes a call, hangs up and ends
  EXPECT_EQ(client().postAlert({}).error->kind, ErrorKind::kConnectionLost);
  service_.reset();
  EXPECT_EQ(client().postAlert({}).error->kind, ErrorKind::kNoDaemon);
}

TEST_F(Failures, TheSocketDoesNotLetEverybodyIn) {
  if (::geteuid() != 0) skipOrFail("needs root, to become another user");
  serve({});
  std::filesystem::permissions(directory_.path(), std::filesystem::perms::all);
  std::filesystem::permissions(directory_.path() / "socket", std::filesystem::perms::owner_all);
  Client another({.socketPath = directory_.path() / "socket"});
  ASSERT_EQ(::seteuid(65534), 0);
  const auto outcome = another.getStatus();
  ASSERT_EQ(::seteuid(0), 0);
  ASSERT_TRUE(outcome.error);
  EXPECT_EQ(outcome.error->kind, ErrorKind::kSocketNotPermitted);
}

struct WireCase {
  std::string name;
  std::string parameters;
  ErrorKind kind;
  std::string description;
};

TEST_F(Failures, VarlinkErrorsHaveTheirKinds) {
  const std::string standard = "org.varlink.service.";
  const std::string monitor = "com.ulmora.velto.AlertsMonitor.";
  for (const WireCase& wire : std::vector<WireCase>{
           {standard + "InvalidParameter", R"({"parameter":"alert.type"})",
            ErrorKind::kInvalidParameter, "The service does not take the parameter alert.type."},
           {standard + "MethodNotFound", R"({"method":"a.B"})", ErrorKind::kMethodNotFound,
            "The service has no method a.B."},
           {standard + "MethodNotImplemented", "{}", ErrorKind::kMethodNotImplemented,
            "The service does not implement the method that it does not name."},
           {standard + "InterfaceNotFound", R"({"interface":"a"})", ErrorKind::kInterfaceNotFound,
            "The service has no interface a."},
           {standard + "PermissionDenied", "{}", ErrorKind::kNotPermitted,
            "The service does not permit this."},
           {monitor + "NotPermitted", "{}", ErrorKind::kNotPermitted,
            "Only user 0 and group 0 may watch the service."},
           {monitor + "NoSuchAlert", R"({"identifier":"i"})", ErrorKind::kNoSuchAlert,
            "There is no alert i."},
           {monitor + "InvalidPosition", "{}", ErrorKind::kInvalidPosition,
            "The list cannot go on there."},
           {"x.Y", R"({"a":1})", ErrorKind::kOtherAnswer,
            R"(The service answered with x.Y: {"a":1})"}}) {
    const auto error = errorOfReading({{Answer{{wireError(wire.name, wire.parameters)}}}});
    EXPECT_EQ(error.kind, wire.kind) << wire.name;
    EXPECT_EQ(error.domain, wire.name);
    EXPECT_EQ(error.code, 0);
    EXPECT_EQ(error.description, wire.description);
    EXPECT_FALSE(error.mayHaveBeenCarriedOut);
  }
}

TEST_F(Failures, TheParametersOfAVarlinkErrorAreItsInformation) {
  const auto error = errorOfPosting({{Answer{{wireError("x.Y", R"({"a":[1,"b"]})")}}}});
  EXPECT_EQ(error.information, (alerts::Value::Dictionary{{"a", alerts::Value::Array{1, "b"}}}));
}

TEST_F(Failures, WhatIsNoReplyIsAnErrorAndNothingElse) {
  const std::string deep = std::string(300, '[') + std::string(300, ']');
  for (const std::string& text :
       {""s, "[]"s, "x"s, "{"s, "{}{}"s, "{\"parameters\":1}"s, "{\"error\":1}"s,
        "{\"continues\":1}"s, "{\"parameters\":{\"names\":"s + deep + "}}", "\xff"s,
        reply(R"({"names":1})"), reply(R"({"names":[1]})"), reply(R"({"names":[null]})"),
        reply(R"({"error":"no"})"), reply(R"({"error":{"domain":"d","code":1.5,"userInfo":{}}})"),
        reply(R"({"error":{"domain":"d","code":1}})"), piece(R"({"names":[]})")}) {
    const auto error = errorOfReading({{Answer{{text}}}});
    EXPECT_EQ(error.kind, ErrorKind::kBadReply) << text;
    EXPECT_FALSE(error.mayHaveBeenCarriedOut);
    EXPECT_EQ(errorOfPosting({{Answer{{"{\"error\":1}"s}}}}).mayHaveBeenCarriedOut, true);
  }
}

TEST_F(Failures, AReplyWithoutEndOrAfterTheTimeIsATimeOut) {
  serve({{Answer{{}, "{\"parameters\""}, Answer{}}, {Answer{}, Answer{}}});
  Client hasty({.socketPath = service_->path(), .timeLimit = 20ms});
  const auto half = hasty.getAlertBundleNames();
  ASSERT_TRUE(half.error);
  EXPECT_EQ(half.error->kind, ErrorKind::kTimedOut);
  EXPECT_FALSE(half.error->mayHaveBeenCarriedOut);

  Client patient({.socketPath = service_->path()});
  const auto none = patient.postAlert({}, {.timeLimit = 20ms});
  ASSERT_TRUE(none.error);
  EXPECT_EQ(none.error->kind, ErrorKind::kTimedOut);
  EXPECT_TRUE(none.error->mayHaveBeenCarriedOut);
}

TEST_F(Failures, AnyLimitIsATimeThatCanBeWaitedFor) {
  // The service waits for one call more than it gets, and hangs up on none.
  serve({{Answer{{reply("{}")}}, Answer{}, Answer{}}, {Answer{}, Answer{}}});
  Client client({.socketPath = service_->path(), .timeLimit = std::chrono::milliseconds::max()});
  EXPECT_TRUE(client.postAlert({}));
  for (const auto limit : {0ms, std::chrono::milliseconds::min()}) {
    EXPECT_EQ(client.postAlert({}, {.timeLimit = limit}).error->kind, ErrorKind::kTimedOut);
  }
}

TEST_F(Failures, ALateReplyIsNotTakenForThatOfAnotherCall) {
  serve({{Answer{}, Answer{{reply(R"({"names":["late"]})")}}},
         {Answer{{reply(R"({"names":["mine"]})")}}}});
  Client client({.socketPath = service_->path()});
  EXPECT_EQ(client.getAlertBundleNames({.timeLimit = 20ms}).error->kind, ErrorKind::kTimedOut);
  EXPECT_THAT(*client.getAlertBundleNames().value, testing::ElementsAre("mine"));
}

TEST_F(Failures, WhatCannotBeSentIsRefusedBeforeConnecting) {
  serve({});
  Client client({.socketPath = service_->path()});
  const auto outcome = client.postAlert({.type = "\xff"});
  ASSERT_TRUE(outcome.error);
  EXPECT_EQ(outcome.error->kind, ErrorKind::kInvalidArgument);
  EXPECT_FALSE(client.getAlertsOfType("\xff"));
  EXPECT_FALSE(client.follow("\xff"));
  EXPECT_TRUE(service_->calls().empty());
}

TEST_F(Failures, AServiceThatIsOlderThanTheLibrarySaysSo) {
  serve({{Answer{{wireError("org.varlink.service.InterfaceNotFound",
                            R"({"interface":"com.ulmora.velto.AlertsMonitor"})")}}}});
  const auto outcome = client().getStatus();
  ASSERT_TRUE(outcome.error);
  EXPECT_EQ(outcome.error->kind, ErrorKind::kInterfaceNotFound);
  EXPECT_THAT(outcome.error->description, HasSubstr("com.ulmora.velto.AlertsMonitor"));
}

}  // namespace
}  // namespace velto
