// SPDX-License-Identifier: Apache-2.0
#include "client/ClientConnection.h"

#include <cerrno>
#include <string>
#include <string_view>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>
#include <vector>

#include <boost/json/serialize.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/connection/TestService.h"
#include "tests/support/TemporaryDirectory.h"

namespace velto {
namespace {

using std::string_literals::operator""s;

/// Answers the first client with fixed bytes, whatever it asks, and hangs up.
class CannedService {
 public:
  explicit CannedService(std::string answer) : answer_(std::move(answer)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path().copy(address.sun_path, sizeof(address.sun_path) - 1);
    EXPECT_EQ(::bind(socket_.get(), reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
    EXPECT_EQ(::listen(socket_.get(), 1), 0);
    thread_ = std::thread([this] { serve(); });
  }
  ~CannedService() { thread_.join(); }

  std::string path() const { return directory_.path() / "socket"; }

 private:
  void serve() const {
    const FileDescriptor client(::accept(socket_.get(), nullptr, nullptr));
    char byte = 1;
    while (byte != 0 && ::recv(client.get(), &byte, 1, 0) == 1) {
    }
    EXPECT_EQ(::send(client.get(), answer_.data(), answer_.size(), MSG_NOSIGNAL),
              static_cast<ssize_t>(answer_.size()));
  }

  const TemporaryDirectory directory_;
  const FileDescriptor socket_{::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)};
  const std::string answer_;
  std::thread thread_;
};

std::unique_ptr<ClientConnection> connected(const std::string& path) {
  std::optional<Error> error;
  auto connection = ClientConnection::connect(path, &error);
  EXPECT_NE(connection, nullptr);
  return connection;
}

TEST(ClientConnection, calls) {
  TestService service;
  const auto connection = connected(service.path());
  std::optional<Error> error;
  const auto reply = connection->call("test.service.Echo", R"({"value":[1,"x"]})", &error);
  ASSERT_TRUE(reply);
  EXPECT_EQ(reply->error, "");
  EXPECT_EQ(boost::json::serialize(reply->parameters), R"({"value":[1,"x"]})");
  EXPECT_FALSE(reply->continues);
  EXPECT_FALSE(error);
}

TEST(ClientConnection, givesTheErrorOfACall) {
  TestService service;
  const auto connection = connected(service.path());
  const auto reply = connection->call("test.service.Echo", {}, nullptr);
  ASSERT_TRUE(reply);
  EXPECT_EQ(reply->error, "org.varlink.service.InvalidParameter");
  EXPECT_EQ(reply->parameters.at("parameter"), "value");
}

TEST(ClientConnection, takesAReplyInPieces) {
  TestService service;
  const auto connection = connected(service.path());
  std::vector<std::int64_t> numbers;
  const auto receiver = [&](const ClientReply& reply) {
    numbers.push_back(reply.parameters.at("number").as_int64());
  };
  EXPECT_TRUE(connection->call("test.service.Count", R"({"to":3,"size":100000})",
                               ReplyMode::kPieces, receiver, nullptr));
  EXPECT_THAT(numbers, testing::ElementsAre(1, 2, 3));
}

TEST(ClientConnection, waitsForNoAnswerWhenThereWillBeNone) {
  TestService service;
  const auto connection = connected(service.path());
  EXPECT_TRUE(connection->call(
      "test.service.Note", {}, ReplyMode::kNone, [](const ClientReply&) { FAIL(); }, nullptr));
  EXPECT_TRUE(connection->call("test.service.Classes", {}, nullptr));
  EXPECT_EQ(service.shared().calls, 1);
}

TEST(ClientConnection, exchangesLongMessages) {
  TestService service;
  const auto connection = connected(service.path());
  const std::string text(10000000, 'x');
  const auto reply =
      connection->call("test.service.Echo", R"({"value":")" + text + R"("})", nullptr);
  ASSERT_TRUE(reply);
  EXPECT_EQ(reply->parameters.at("value").as_string(), text);
}

TEST(ClientConnection, saysWhereNobodyAnswers) {
  const TemporaryDirectory directory;
  const std::string path = directory.path() / "socket";
  std::optional<Error> error;
  EXPECT_EQ(ClientConnection::connect(path, &error), nullptr);
  ASSERT_TRUE(error);
  EXPECT_EQ(*error, makeError("ClientConnection", ENOENT,
                              "cannot connect to " + path + ": No such file or directory"));

  error.reset();
  EXPECT_EQ(ClientConnection::connect(std::string(500, '/'), &error), nullptr);
  ASSERT_TRUE(error);
  EXPECT_EQ(error->code, ENAMETOOLONG);
}

struct Answer {
  std::string bytes;
  int code;
  std::string description;
};

Answer noAnswer(std::string bytes) {
  return {std::move(bytes), ECONNRESET, "the service did not answer: Connection reset by peer"};
}

Answer nonsense(std::string bytes) {
  return {std::move(bytes), EBADMSG, "the service sent something that is no reply: Bad message"};
}

class BadAnswer : public testing::TestWithParam<Answer> {};

TEST_P(BadAnswer, isAnError) {
  CannedService service(GetParam().bytes);
  std::optional<Error> error;
  EXPECT_FALSE(connected(service.path())->call("a.B", {}, &error));
  ASSERT_TRUE(error);
  EXPECT_EQ(*error, makeError(kClientErrorDomain, GetParam().code, GetParam().description));
}

INSTANTIATE_TEST_SUITE_P(, BadAnswer,
                         testing::Values(noAnswer(""), noAnswer("{}"), nonsense("\0"s),
                                         nonsense("[]\0"s), nonsense("{\"parameters\":1}\0"s),
                                         nonsense("{\"error\":1}\0"s),
                                         nonsense("{\"continues\":1}\0"s)));

TEST(ClientConnection, readsRepliesOfOtherServices) {
  CannedService service("{\"error\":null,\"continues\":null,\"parameters\":null,\"extra\":1}\0"s);
  const auto reply = connected(service.path())->call("a.B", {}, nullptr);
  ASSERT_TRUE(reply);
  EXPECT_EQ(reply->error, "");
  EXPECT_TRUE(reply->parameters.empty());
}

}  // namespace
}  // namespace velto
