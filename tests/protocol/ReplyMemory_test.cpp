// SPDX-License-Identifier: Apache-2.0
// What becomes of a reply when there is no memory for it.

#include <optional>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "platform/foundation/SerialQueue.h"
#include "platform/identity/GuestTable.h"
#include "protocol/VLAlertsDaemon.h"
#include "tests/connection/TestClient.h"
#include "tests/connection/TestService.h"
#include "tests/support/FailingAllocations.h"

namespace velto {
namespace {

/// Answers at once, later from another thread, and with a list.
class SomeDaemon : public VLAlertsDaemon {
 public:
  explicit SomeDaemon(SerialQueue& other) : other_(other) {}

  void setAttributes(std::optional<PropertyList::Dictionary>, ErrorReply reply) override {
    reply(makeError("Some", 5, "an error with a description of some length"));
  }
  void saveAlerts(std::optional<AlertSequence>, ErrorReply reply) override {
    other_.perform([reply = std::move(reply), error = makeError("Some", 6, "later")]() mutable {
      reply(std::move(error));
    });
  }
  void getAlertsOfType(std::optional<std::string> type, Reply<AlertSequence> reply) override {
    VLAlert alert;
    alert.type = std::move(type);
    reply(AlertSequence(std::vector<VLAlert>(300, alert)), std::nullopt);
  }

 private:
  SerialQueue& other_;
};

class Service : public ListenerDelegate {
 public:
  Service() {
    listener_->setDelegate(this);
    listener_->resume();
  }
  ~Service() override {
    runLoop_.stop();
    thread_.join();
  }

  bool shouldAcceptNewConnection(Listener& /*listener*/, Connection& connection) override {
    connection.setExportedInterface(exported_);
    connection.addExportedObject(std::make_unique<SomeDaemon>(other_));
    connection.resume();
    return true;
  }

  const std::string& path() const { return path_; }

 private:
  const std::shared_ptr<const Interface> exported_ =
      std::make_shared<const Interface>(Interface::interfaceWithProtocol(alertsDaemonProtocol()));
  TemporaryDirectory directory_;
  const std::string path_ = (directory_.path() / "socket").string();
  SerialQueue other_;
  GuestTable guests_;
  RunLoop runLoop_;
  const std::unique_ptr<Listener> listener_ =
      Listener::listenerWithPath(runLoop_, guests_, path_, nullptr);
  std::thread thread_{[this] { runLoop_.run(); }};
};

class ReplyMemory : public testing::TestWithParam<const char*> {};

std::string conversation(TestClient& client, std::string_view call) {
  const auto reply = client.send(std::string(call)) ? client.receive() : std::nullopt;
  return reply.value_or("closed");
}

TEST_P(ReplyMemory, costsAtMostTheConnection) {
  Service service;
  TestClient bystander(service.path());
  const std::string call =
      R"({"method":"com.ulmora.velto.AlertsDaemon.)" + std::string(GetParam()) + "}";
  const std::string usual = [&] {
    TestClient client(service.path());
    return conversation(client, call);
  }();
  ASSERT_NE(usual, "closed");

  int lost = 0;
  bool hasFailed = true;
  for (std::int64_t number = 1; hasFailed; ++number) {
    TestClient client(service.path());
    EXPECT_EQ(conversation(client, call), usual);  // it has been admitted
    const FailingAllocation failing(number);
    const std::string answer = conversation(client, call);
    hasFailed = failing.hasFailed();
    EXPECT_TRUE(answer == usual || answer == "closed") << number << ": " << answer;
    lost += answer == "closed" ? 1 : 0;
  }
  EXPECT_GT(lost, 1);
  EXPECT_EQ(conversation(bystander, call), usual);
}

INSTANTIATE_TEST_SUITE_P(, ReplyMemory,
                         testing::Values(R"(SetAttributes","parameters":{"attributes":{}})",
                                         R"(SaveAlerts","parameters":{"alerts":[{"type":"a"}]})",
                                         R"(GetAlertsOfType","parameters":{"type":"a long type"})",
                                         R"(GetAlertBundleNames")", R"(GetNothing")"));

}  // namespace
}  // namespace velto
