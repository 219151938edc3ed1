// SPDX-License-Identifier: Apache-2.0
#include "tools/service/CallCommand.h"

#include <cstdlib>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "platform/foundation/Paths.h"
#include "tests/connection/TestService.h"
#include "tests/support/TemporaryDirectory.h"
#include "tools/frame/Failure.h"

namespace velto {
namespace {

using testing::HasSubstr;

/// The call's parameters, as two pieces or as a whole.
class Parameters : public ReplyBody {
 public:
  explicit Parameters(std::string object) : object_(std::move(object)) {}
  void begin(std::string& text) override { text += object_; }
  bool append(std::string& /*text*/) override { return std::exchange(isFirst_, false); }
  void end(std::string& /*text*/, bool /*isLast*/) override {}

 private:
  const std::string object_;
  bool isFirst_ = true;
};

void answerWithParameters(const Invocation& call, ReplyPromise promise) {
  promise.keep(CallReply::parameters(std::make_unique<Parameters>(std::string(call.parameters))));
}

/// A protocol under the daemon's name, whose method Answer replies with what it is sent.
const Protocol& daemonProtocol() {
  static const Protocol protocol{
      .name = VLAlertsXPCServiceName,
      .description = "",
      .product = "",
      .version = "",
      .methods = {{.selector = "answer:", .wireName = "Answer", .invoke = answerWithParameters}}};
  return protocol;
}

class CallCommandTest : public testing::Test {
 protected:
  CallCommandTest() { setenv("VELTO_ROOT", root_.path().c_str(), 1); }
  ~CallCommandTest() override { unsetenv("VELTO_ROOT"); }

  /// Its status, and what it said when it failed in `errors_`, as `main` tells it.
  ExitStatus run(const CallCommand& command, const Ways& ways = {}) {
    try {
      Session session(ways, {}, input_, output_, errors_);
      const ExitStatus status = command.run(session);
      session.finish();
      return status;
    } catch (const Failure& failure) {
      errors_ << failure.line();
      return failure.status;
    }
  }

  TemporaryDirectory root_;
  std::istringstream input_;
  std::ostringstream output_;
  std::ostringstream errors_;
};

class ServedCallCommandTest : public CallCommandTest {
 protected:
  TestService service_{[](RunLoop& runLoop, GuestTable& guests, ErrorSlot error) {
                         return Listener::listenerWithServiceName(runLoop, guests,
                                                                  VLAlertsXPCServiceName, error);
                       },
                       daemonProtocol()};
};

TEST_F(ServedCallCommandTest, printsTheReply) {
  EXPECT_EQ(run({.method = "Answer", .parameters = R"({"a":[1]})"}), kExitDone);
  EXPECT_EQ(output_.str(), "{\n  \"a\": [\n    1\n  ]\n}\n");
  EXPECT_EQ(errors_.str(), "");
}

TEST_F(ServedCallCommandTest, takesFullNamesAndNoParameters) {
  EXPECT_EQ(run({.method = "org.varlink.service.GetInfo", .parameters = ""}), kExitDone);
  EXPECT_THAT(output_.str(), HasSubstr("\"org.varlink.service\""));
}

TEST_F(ServedCallCommandTest, readsParametersFromItsInput) {
  input_.str("{\"a\":\n1}\n");
  EXPECT_EQ(run({.method = "Answer", .parameters = "-"}), kExitDone);
  EXPECT_EQ(output_.str(), "{\n  \"a\": 1\n}\n");
}

TEST_F(ServedCallCommandTest, tellsTheDaemonsError) {
  EXPECT_EQ(
      run({.method = "Answer", .parameters = R"({"error":{"domain":"VeltoAlertsStore","code":1,
                 "userInfo":{"NSLocalizedDescription":"Update Alert: Alert not found."}}})"}),
      kExitFailed);
  EXPECT_THAT(output_.str(), HasSubstr("\"code\": 1"));
  EXPECT_EQ(errors_.str(), "Update Alert: Alert not found (VeltoAlertsStore 1)");
}

TEST_F(ServedCallCommandTest, tellsAnErrorOfWantOfRights) {
  for (const int code : {103, 150}) {
    EXPECT_EQ(run({.method = "Answer",
                   .parameters = R"({"error":{"domain":"AlertsDaemon","code":)" +
                                 std::to_string(code) + R"(,"userInfo":{}}})"}),
              kExitNotPermitted);
  }
}

TEST_F(ServedCallCommandTest, saysWhatTheStatusOfAMailProgramMeans) {
  EXPECT_EQ(
      run({.method = "Answer",
           .parameters = R"({"error":{"domain":"VeltoAlertsMailer","code":75,"userInfo":{}}})"}),
      kExitFailed);
  EXPECT_THAT(errors_.str(), HasSubstr("the mail program ended with status 75; see"));
}

TEST_F(ServedCallCommandTest, decodesWhatAGatewayAnswered) {
  EXPECT_EQ(
      run({.method = "Answer", .parameters = R"({"error":{"domain":"UlmoraPushProvider","code":404,
                     "userInfo":{"NSLocalizedDescription":{"$data":"Tm90IEZvdW5kCg=="}}}})"}),
      kExitFailed);
  EXPECT_THAT(errors_.str(), HasSubstr("the push gateway answered Not Found (404); see"));
}

TEST_F(ServedCallCommandTest, takesAnAbsentErrorForSuccess) {
  EXPECT_EQ(run({.method = "Answer", .parameters = R"({"error":null})"}), kExitDone);
}

TEST_F(ServedCallCommandTest, tellsTheErrorOfACallThatWasNotCarriedOut) {
  EXPECT_EQ(run({.method = "Nothing", .parameters = "{}"}), kExitFailed);
  EXPECT_EQ(output_.str(), "");
  EXPECT_THAT(errors_.str(), HasSubstr("no method com.ulmora.velto.AlertsDaemon.Nothing"));
}

TEST_F(ServedCallCommandTest, printsEveryPiece) {
  EXPECT_EQ(run({.method = "Answer", .parameters = R"({"a":1})", .more = true}), kExitDone);
  EXPECT_EQ(output_.str(), "{\n  \"a\": 1\n}\n{\n  \"a\": 1\n}\n");
}

TEST_F(ServedCallCommandTest, refusesParametersThatAreNoObject) {
  for (const auto* text : {"[]", "{", "x", "{} {}"}) {
    EXPECT_EQ(run({.method = "Answer", .parameters = text}), kExitUsage) << text;
  }
  EXPECT_THAT(errors_.str(), HasSubstr("a name in quotes expected at character 2"));
  EXPECT_EQ(service_.tokens().size(), 0U);
}

TEST_F(ServedCallCommandTest, refusesACallThatIsTooLong) {
  EXPECT_EQ(run({.method = "Answer", .parameters = std::string(std::size_t{40} << 20, ' ')}),
            kExitUsage);
  EXPECT_THAT(errors_.str(), HasSubstr("the call has 40.0 MiB; the daemon takes 16 MiB"));
}

TEST_F(ServedCallCommandTest, refusesSecondsSince1970ForADate) {
  const CallCommand command{.method = "DeleteAlertsBeforeDate",
                            .parameters = R"({"date":1787000000})"};
  EXPECT_EQ(run(command), kExitUsage);
  EXPECT_THAT(errors_.str(), HasSubstr("2057"));
  EXPECT_EQ(service_.tokens().size(), 0U);
  EXPECT_EQ(run(command, {.isSure = true}), kExitFailed);  // the test's protocol has no such method
}

TEST_F(ServedCallCommandTest, refusesToForgetAllRecipientsByChance) {
  for (const auto* method : {"SetMailRecipients", "SetPushRecipients"}) {
    EXPECT_EQ(run({.method = method, .parameters = "{}"}), kExitUsage);
    EXPECT_EQ(run({.method = method, .parameters = ""}), kExitUsage);
  }
  EXPECT_THAT(errors_.str(), HasSubstr("recipients is missing"));
  EXPECT_EQ(service_.tokens().size(), 0U);
}

TEST_F(ServedCallCommandTest, failsWhenTheReplyCannotBeWritten) {
  output_.setstate(std::ios::badbit);
  EXPECT_EQ(run({.method = "Answer", .parameters = "{}"}), kExitFailed);
}

TEST_F(CallCommandTest, asksWhetherTheDaemonIsRunning) {
  EXPECT_EQ(run({.method = "Answer", .parameters = "{}"}), kExitNoDaemon);
  EXPECT_THAT(errors_.str(), testing::AllOf(HasSubstr("cannot connect to " + root_.path().string()),
                                            HasSubstr("is alertsd running with the same?")));
}

}  // namespace
}  // namespace velto
