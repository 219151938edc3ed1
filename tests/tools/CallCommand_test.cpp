// SPDX-License-Identifier: Apache-2.0
#include "tools/CallCommand.h"

#include <cstdlib>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "platform/foundation/Paths.h"
#include "tests/connection/TestService.h"
#include "tests/support/TemporaryDirectory.h"

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

  ExitStatus run(const CallCommand& command) { return command.run(input_, output_, errors_); }

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
  EXPECT_EQ(run({.method = "Answer", .parameters = R"({"a":[1]})"}), kExitSuccess);
  EXPECT_EQ(output_.str(), "{\n  \"a\": [\n    1\n  ]\n}\n");
  EXPECT_EQ(errors_.str(), "");
}

TEST_F(ServedCallCommandTest, takesFullNamesAndNoParameters) {
  EXPECT_EQ(run({.method = "org.varlink.service.GetInfo", .parameters = ""}), kExitSuccess);
  EXPECT_THAT(output_.str(), HasSubstr("\"org.varlink.service\""));
}

TEST_F(ServedCallCommandTest, readsParametersFromItsInput) {
  input_.str("{\"a\":\n1}\n");
  EXPECT_EQ(run({.method = "Answer", .parameters = "-"}), kExitSuccess);
  EXPECT_EQ(output_.str(), "{\n  \"a\": 1\n}\n");
}

TEST_F(ServedCallCommandTest, tellsTheDaemonsError) {
  EXPECT_EQ(run({.method = "Answer", .parameters = R"({"error":{"domain":"AlertsDaemon","code":103,
                 "userInfo":{"NSLocalizedDescription":"Error: Insufficient privileges."}}})"}),
            kExitRefused);
  EXPECT_THAT(output_.str(), HasSubstr("\"code\": 103"));
  EXPECT_EQ(errors_.str(), "alertsctl: Error: Insufficient privileges. (AlertsDaemon 103)\n");
}

TEST_F(ServedCallCommandTest, tellsAnErrorWithoutADescription) {
  EXPECT_EQ(
      run({.method = "Answer",
           .parameters = R"({"error":{"domain":"VeltoAlertsMailer","code":75,"userInfo":{}}})"}),
      kExitRefused);
  EXPECT_EQ(errors_.str(), "alertsctl: VeltoAlertsMailer 75\n");
}

TEST_F(ServedCallCommandTest, takesAnAbsentErrorForSuccess) {
  EXPECT_EQ(run({.method = "Answer", .parameters = R"({"error":null})"}), kExitSuccess);
}

TEST_F(ServedCallCommandTest, tellsTheErrorOfACallThatWasNotCarriedOut) {
  EXPECT_EQ(run({.method = "Nothing", .parameters = "{}"}), kExitRefused);
  EXPECT_EQ(output_.str(), "");
  EXPECT_EQ(errors_.str(),
            "alertsctl: The service has no method com.ulmora.velto.AlertsDaemon.Nothing. "
            "(org.varlink.service.MethodNotFound)\n");
}

TEST_F(ServedCallCommandTest, printsEveryPiece) {
  EXPECT_EQ(run({.method = "Answer", .parameters = R"({"a":1})", .more = true}), kExitSuccess);
  EXPECT_EQ(output_.str(), "{\n  \"a\": 1\n}\n{\n  \"a\": 1\n}\n");
}

TEST_F(ServedCallCommandTest, refusesParametersThatAreNoObject) {
  for (const auto* text : {"[]", "{", "x", "{} {}"}) {
    EXPECT_EQ(run({.method = "Answer", .parameters = text}), kExitFailure) << text;
  }
  EXPECT_EQ(service_.tokens().size(), 0U);
}

TEST_F(ServedCallCommandTest, failsWhenTheReplyCannotBeWritten) {
  output_.setstate(std::ios::badbit);
  EXPECT_EQ(run({.method = "Answer", .parameters = "{}"}), kExitFailure);
}

TEST_F(CallCommandTest, asksWhetherTheDaemonIsRunning) {
  EXPECT_EQ(run({.method = "Answer", .parameters = "{}"}), kExitFailure);
  EXPECT_THAT(errors_.str(), testing::AllOf(HasSubstr("cannot connect to " + root_.path().string()),
                                            HasSubstr("is alertsd running?")));
}

}  // namespace
}  // namespace velto
