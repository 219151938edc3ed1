// SPDX-License-Identifier: Apache-2.0
#include "platform/connection/VarlinkClient.h"

#include <array>
#include <cerrno>
#include <future>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/TemporaryDirectory.h"

namespace velto {
namespace {

using std::string_literals::operator""s;
using namespace std::chrono_literals;

constexpr VarlinkClient::Limits kNoLimits{.replySize = std::size_t{1} << 30};

Error failure(int code, std::string_view why) {
  return makeError("VarlinkClient", code, why);
}

/// A service that the test plays itself.
class VarlinkClientTest : public testing::Test {
 protected:
  VarlinkClientTest() {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path_.copy(address.sun_path, sizeof(address.sun_path) - 1);
    EXPECT_EQ(::bind(listener_.get(), reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
    EXPECT_EQ(::listen(listener_.get(), 1), 0);
  }

  /// Connects until the service's queue takes no more; returns the connections.
  std::vector<FileDescriptor> fillQueue() const {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path_.copy(address.sun_path, sizeof(address.sun_path) - 1);
    std::vector<FileDescriptor> connections;
    for (;;) {
      FileDescriptor next(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
      if (::connect(next.get(), reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0) {
        EXPECT_EQ(errno, EAGAIN);
        return connections;
      }
      connections.push_back(std::move(next));
    }
  }
  void connect(const VarlinkClient::Limits& limits = kNoLimits) {
    std::optional<Error> error;
    client_ = VarlinkClient::connect(path_, limits, &error);
    ASSERT_NE(client_, nullptr) << error->localizedDescription();
    service_ = FileDescriptor(::accept(listener_.get(), nullptr, nullptr));
  }
  void hangUp() { service_ = FileDescriptor(); }
  void answer(std::string_view bytes) const {
    EXPECT_EQ(::send(service_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL),
              static_cast<ssize_t>(bytes.size()));
  }
  /// The bytes that the service has been sent.
  std::string received() const {
    std::array<char, 1000> bytes{};
    const ssize_t size = ::recv(service_.get(), bytes.data(), bytes.size(), MSG_DONTWAIT);
    return {bytes.data(), size < 0 ? 0 : static_cast<std::size_t>(size)};
  }
  /// What the client cannot receive for.
  std::optional<Error> errorOfReceiving() const {
    std::optional<Error> error;
    EXPECT_EQ(client_->receive(&error), std::nullopt);
    return error;
  }
  /// What the client cannot send a call for that is longer than the socket takes.
  std::optional<Error> errorOfSending() const {
    const std::string parameters = R"({"value":")" + std::string(10000000, 'x') + R"("})";
    std::optional<Error> error;
    EXPECT_FALSE(client_->send("a.B", parameters, ReplyMode::kOne, &error));
    return error;
  }

  const TemporaryDirectory directory_;
  const std::string path_ = directory_.path() / "socket";
  const FileDescriptor listener_{::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)};
  const FileDescriptor signal_{::eventfd(0, EFD_CLOEXEC)};
  std::unique_ptr<VarlinkClient> client_;
  FileDescriptor service_;
  std::size_t accepted_ = 0;
};

TEST_F(VarlinkClientTest, SendsCalls) {
  connect();
  EXPECT_TRUE(client_->send("a.B", {}, ReplyMode::kOne, nullptr));
  EXPECT_EQ(received(), "{\"method\":\"a.B\"}\0"s);
  EXPECT_TRUE(client_->send("a.B", R"({"x":1})", ReplyMode::kPieces, nullptr));
  EXPECT_EQ(received(), "{\"method\":\"a.B\",\"parameters\":{\"x\":1},\"more\":true}\0"s);
  EXPECT_TRUE(client_->send("\"", {}, ReplyMode::kNone, nullptr));
  EXPECT_EQ(received(), "{\"method\":\"\\\"\",\"oneway\":true}\0"s);
}

TEST_F(VarlinkClientTest, CutsWhatComesIntoReplies) {
  connect();
  answer("one\0\0thr"s);
  EXPECT_EQ(client_->receive(nullptr), "one");
  EXPECT_EQ(client_->receive(nullptr), "");
  auto third = std::async(std::launch::async, [&] {
    const auto reply = client_->receive(nullptr);
    return std::string(reply.value_or("nothing"));
  });
  answer("ee\0"s);
  EXPECT_EQ(third.get(), "three");
}

TEST_F(VarlinkClientTest, SaysWhyItCannotConnect) {
  const auto errorOfConnecting = [](const std::string& path) {
    std::optional<Error> error;
    EXPECT_EQ(VarlinkClient::connect(path, kNoLimits, &error), nullptr);
    return error;
  };
  EXPECT_EQ(errorOfConnecting(path_ + "x"), failure(ENOENT, "No such file or directory"));
  EXPECT_EQ(errorOfConnecting(std::string(108, 'x')), failure(ENAMETOOLONG, "File name too long"));
}

TEST_F(VarlinkClientTest, AServiceThatHangsUpIsToldFromAFailedCall) {
  connect();
  answer("half");
  hangUp();
  EXPECT_EQ(errorOfReceiving(), failure(kVarlinkHungUpErrorCode, "the service hung up"));
  EXPECT_EQ(errorOfSending(), failure(EPIPE, "Broken pipe"));

  connect();
  EXPECT_TRUE(client_->send("a.B", {}, ReplyMode::kOne, nullptr));
  hangUp();  // with the call unread
  EXPECT_EQ(errorOfReceiving(), failure(ECONNRESET, "Connection reset by peer"));
}

TEST_F(VarlinkClientTest, AReplyMayBeAsLongAsTheLimit) {
  connect({.replySize = 10});
  answer("0123456789");
  auto reply = std::async(std::launch::async, [&] {
    const auto text = client_->receive(nullptr);
    return std::string(text.value_or("nothing"));
  });
  answer("\0"s);
  EXPECT_EQ(reply.get(), "0123456789");
  answer("0123456789x");
  EXPECT_EQ(errorOfReceiving(),
            failure(kVarlinkEndlessErrorCode, "the service's answer has no end"));
}

TEST_F(VarlinkClientTest, GivesUpWhenTimeIsUp) {
  const VarlinkClient::Limits limits{.replySize = 10, .time = 1ms};
  const Error expected = failure(kVarlinkTimedOutErrorCode, "the service does not answer");
  connect(limits);
  EXPECT_EQ(errorOfReceiving(), expected);
  connect(limits);
  EXPECT_EQ(errorOfSending(), expected);
}

TEST_F(VarlinkClientTest, GivesUpWhenToldSo) {
  const VarlinkClient::Limits limits{.replySize = 10, .cancelSignal = signal_.get()};
  const Error expected = failure(kVarlinkCancelledErrorCode, "the request was given up");
  connect(limits);
  auto error = std::async(std::launch::async, [&] { return errorOfReceiving(); });
  ::eventfd_write(signal_.get(), 1);
  EXPECT_EQ(error.get(), expected);
  connect(limits);
  EXPECT_EQ(errorOfSending(), expected);
}

TEST_F(VarlinkClientTest, TakesWhatIsThereHoweverLate) {
  connect({.replySize = 10, .time = 1ms, .cancelSignal = signal_.get()});
  ::eventfd_write(signal_.get(), 1);
  EXPECT_TRUE(client_->send("a.B", {}, ReplyMode::kOne, nullptr));
  answer("{}\0"s);
  EXPECT_EQ(client_->receive(nullptr), "{}");
}

TEST_F(VarlinkClientTest, ADeadlineHoldsFromNowOnAndReceivingMayBeTriedAgain) {
  connect({.replySize = 10, .cancelSignal = signal_.get()});
  client_->setDeadline(std::chrono::steady_clock::now());
  answer("on");
  EXPECT_EQ(errorOfReceiving()->code, kVarlinkTimedOutErrorCode);
  client_->setDeadline(std::nullopt);
  auto reply = std::async(std::launch::async, [&] {
    const auto text = client_->receive(nullptr);
    return std::string(text.value_or("nothing"));
  });
  answer("e\0"s);
  EXPECT_EQ(reply.get(), "one");
}

TEST_F(VarlinkClientTest, TimeIsUpAlsoForAServiceThatGoesOnAndOn) {
  connect({.replySize = std::size_t{1} << 40, .cancelSignal = signal_.get()});
  auto flood = std::async(std::launch::async, [this] {
    const std::string bytes(100000, 'x');
    while (::send(service_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL) > 0) {
    }
  });
  client_->setDeadline(std::chrono::steady_clock::now() + 20ms);
  EXPECT_EQ(errorOfReceiving()->code, kVarlinkTimedOutErrorCode);
  client_.reset();
  flood.get();
}

TEST_F(VarlinkClientTest, AConnectionIsStaleWhenThereIsSomethingUnasked) {
  connect();
  EXPECT_FALSE(client_->isStale());
  answer("one\0two\0"s);
  EXPECT_TRUE(client_->isStale());
  EXPECT_EQ(client_->receive(nullptr), "one");
  EXPECT_TRUE(client_->isStale());
  EXPECT_EQ(client_->receive(nullptr), "two");
  EXPECT_FALSE(client_->isStale());
  hangUp();
  EXPECT_TRUE(client_->isStale());
}

TEST_F(VarlinkClientTest, WaitsForAPlaceInAFullQueue) {
  const auto waiting = fillQueue();
  auto outcome = std::async(std::launch::async, [this] {
    std::optional<Error> error;
    const auto client = VarlinkClient::connect(
        path_, {.replySize = 100, .time = std::chrono::minutes(2), .cancelSignal = signal_.get()},
        &error);
    return client != nullptr && client->send("a.B", {}, ReplyMode::kOne, &error);
  });
  std::string call;
  while (call.empty()) {
    service_ = FileDescriptor(::accept(listener_.get(), nullptr, nullptr));
    std::array<char, 100> bytes{};
    const bool isFull = waiting.size() > accepted_++;
    const ssize_t size = isFull ? 0 : ::recv(service_.get(), bytes.data(), bytes.size(), 0);
    call.assign(bytes.data(), size < 0 ? 0 : static_cast<std::size_t>(size));
  }
  EXPECT_EQ(call, "{\"method\":\"a.B\"}\0"s);
  EXPECT_TRUE(outcome.get());
}

TEST_F(VarlinkClientTest, GivesUpOnAFullQueueWhenTimeIsUpOrItIsTold) {
  const auto waiting = fillQueue();
  std::optional<Error> error;
  EXPECT_EQ(VarlinkClient::connect(path_, {.replySize = 100, .time = 1ms}, &error), nullptr);
  EXPECT_EQ(error, failure(kVarlinkTimedOutErrorCode, "the service does not answer"));
  error.reset();
  ::eventfd_write(signal_.get(), 1);
  EXPECT_EQ(
      VarlinkClient::connect(path_, {.replySize = 100, .cancelSignal = signal_.get()}, &error),
      nullptr);
  EXPECT_EQ(error, failure(kVarlinkCancelledErrorCode, "the request was given up"));
}

}  // namespace
}  // namespace velto
