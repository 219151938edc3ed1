// SPDX-License-Identifier: Apache-2.0
#include "platform/events/EventsServiceClient.h"

#include <atomic>
#include <functional>
#include <future>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/NoMoreThreads.h"
#include "tests/support/TemporaryDirectory.h"

namespace velto {
namespace {

using testing::ElementsAre;
using namespace std::chrono_literals;

/// The other end of one connection after the other, on a thread of its own.
class Service {
 public:
  using Conversation = std::function<void(int connection)>;

  Service(const std::string& path, Conversation conversation)
      : listener_(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    EXPECT_EQ(::bind(listener_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address),
              0);
    EXPECT_EQ(::listen(listener_.get(), 20), 0);
    thread_ = std::thread([this, conversation = std::move(conversation)] {
      for (;;) {
        const FileDescriptor connection(::accept(listener_.get(), nullptr, nullptr));
        if (!connection.isOpen()) {
          return;
        }
        conversation(connection.get());
      }
    });
  }
  ~Service() {
    ::shutdown(listener_.get(), SHUT_RDWR);
    thread_.join();
  }
  Service(const Service&) = delete;
  Service& operator=(const Service&) = delete;

 private:
  const FileDescriptor listener_;
  std::thread thread_;
};

/// Reads up to the NUL, or to the end.
std::string receive(int connection) {
  std::string message;
  char byte = 0;
  while (::recv(connection, &byte, 1, 0) == 1 && byte != '\0') {
    message += byte;
  }
  return message;
}

void send(int connection, std::string_view bytes) {
  EXPECT_EQ(::send(connection, bytes.data(), bytes.size(), MSG_NOSIGNAL),
            static_cast<ssize_t>(bytes.size()));
}

constexpr std::string_view kSuccess{"{}\0", 3};

class EventsServiceClientTest : public testing::Test {
 protected:
  std::string path() const { return directory_.path() / "socket"; }

  /// What comes of one request.
  std::optional<Error> load(EventsServiceClient& client, const std::string& bundle = "/x") {
    std::promise<std::optional<Error>> promise;
    client.loadMonitorBundleWithPath(
        bundle, [&](std::optional<Error> error) { promise.set_value(std::move(error)); });
    return promise.get_future().get();
  }
  /// What comes of one request to a service that behaves so.
  std::optional<Error> errorFrom(Service::Conversation conversation,
                                 std::chrono::milliseconds limit = 60s) {
    const Service service(path(), std::move(conversation));
    EventsServiceClient client(path(), limit);
    auto error = load(client);
    ::unlink(path().c_str());
    return error;
  }
  /// Its code.
  std::int64_t codeFrom(Service::Conversation conversation) {
    const auto error = errorFrom(std::move(conversation));
    EXPECT_TRUE(!error || error->domain == kEventsErrorDomain);
    return error ? error->code : 0;
  }
  /// An error of the client's, which names the socket.
  Error ownError(int code, const std::string& why) const {
    return makeError(kEventsErrorDomain, code, path() + ": " + why);
  }

  const TemporaryDirectory directory_;
};

TEST_F(EventsServiceClientTest, MakesTheTwoCalls) {
  std::vector<std::string> calls;
  {
    const Service service(path(), [&](int connection) {
      calls.push_back(receive(connection));
      send(connection, kSuccess);
    });
    EventsServiceClient client(path());
    EXPECT_EQ(load(client, "/usr/lib/\"x\".bundle"), std::nullopt);
    std::promise<std::optional<Error>> promise;
    client.enableMonitorBundleWithName(
        "x", [&](std::optional<Error> error) { promise.set_value(std::move(error)); });
    EXPECT_EQ(promise.get_future().get(), std::nullopt);
  }
  EXPECT_THAT(calls, ElementsAre(R"({"method":"com.ulmora.velto.EventsDaemon.LoadMonitorBundle",)"
                                 R"("parameters":{"path":"/usr/lib/\"x\".bundle"}})",
                                 R"({"method":"com.ulmora.velto.EventsDaemon.EnableMonitorBundle",)"
                                 R"("parameters":{"name":"x"}})"));
}

TEST_F(EventsServiceClientTest, TellsTheServicesError) {
  EXPECT_EQ(codeFrom([](int connection) {
              receive(connection);
              send(connection, {"{\"error\":\"a.B\"}\0", 16});
            }),
            kEventsRefusedErrorCode);
}

TEST_F(EventsServiceClientTest, AnAnswerMayComeInPieces) {
  EXPECT_EQ(codeFrom([](int connection) {
              receive(connection);
              for (const char& byte : kSuccess) {
                send(connection, {&byte, 1});
              }
            }),
            0);
}

TEST_F(EventsServiceClientTest, NonsenseIsAnError) {
  EXPECT_EQ(codeFrom([](int connection) {
              receive(connection);
              send(connection, {"hello\0", 6});
            }),
            kEventsNoReplyErrorCode);
}

TEST_F(EventsServiceClientTest, AnAnswerWithoutEndIsAnError) {
  EXPECT_EQ(errorFrom([](int connection) {
              receive(connection);
              const std::string flood(100000, 'x');
              while (::send(connection, flood.data(), flood.size(), MSG_NOSIGNAL) > 0) {
              }
            }),
            ownError(kEventsNoReplyErrorCode, "the service's answer has no end"));
}

TEST_F(EventsServiceClientTest, AServiceThatGoesAwayIsAnError) {
  const Error expected = ownError(kEventsNoReplyErrorCode, "the service hung up");
  EXPECT_EQ(errorFrom([](int connection) { receive(connection); }), expected);
  EXPECT_EQ(errorFrom([](int connection) {
              receive(connection);
              send(connection, "{\"param");
            }),
            expected);
}

TEST_F(EventsServiceClientTest, AServiceThatDoesNotAnswerIsAnErrorAfterAWhile) {
  EXPECT_EQ(errorFrom(
                [](int connection) {
                  receive(connection);
                  receive(connection);
                },
                50ms),
            ownError(kEventsTimedOutErrorCode, "the service does not answer"));
}

TEST_F(EventsServiceClientTest, AnAbsentServiceIsAnErrorThatNamesTheSocket) {
  EventsServiceClient client(path());
  EXPECT_EQ(load(client), ownError(ENOENT, "No such file or directory"));
  EventsServiceClient far(std::string(200, 'x'));
  EXPECT_EQ(load(far)->code, ENAMETOOLONG);
}

TEST_F(EventsServiceClientTest, RequestsWaitForNobodyAndAreAnsweredInOrder) {
  std::promise<void> gate;
  const std::shared_future<void> open = gate.get_future().share();
  std::vector<int> answered;
  {
    const Service service(path(), [&](int connection) {
      open.wait();
      receive(connection);
      send(connection, kSuccess);
    });
    EventsServiceClient client(path());
    std::promise<void> last;
    for (int number = 0; number < 10; ++number) {
      client.enableMonitorBundleWithName("x", [&, number](const std::optional<Error>& error) {
        EXPECT_EQ(error, std::nullopt);
        answered.push_back(number);
        if (number == 9) {
          last.set_value();
        }
      });
    }
    EXPECT_TRUE(answered.empty()) << "the service has not answered yet";
    gate.set_value();
    last.get_future().wait();
  }
  EXPECT_THAT(answered, ElementsAre(0, 1, 2, 3, 4, 5, 6, 7, 8, 9));
}

TEST_F(EventsServiceClientTest, AReplyMayAskFurther) {
  const Service service(path(), [&](int connection) {
    receive(connection);
    send(connection, kSuccess);
  });
  EventsServiceClient client(path());
  std::promise<std::optional<Error>> promise;
  client.loadMonitorBundleWithPath("/x", [&](const std::optional<Error>&) {
    client.enableMonitorBundleWithName(
        "x", [&](std::optional<Error> error) { promise.set_value(std::move(error)); });
  });
  EXPECT_EQ(promise.get_future().get(), std::nullopt);
}

TEST_F(EventsServiceClientTest, WhenTheClientGoesEverybodyIsAnswered) {
  const Error expected = ownError(kEventsCancelledErrorCode, "the request was given up");
  std::atomic<int> cancelled = 0;
  std::promise<void> arrived;
  std::atomic<bool> first = true;
  const Service service(path(), [&](int connection) {
    if (first.exchange(false)) {
      arrived.set_value();
    }
    receive(connection);
    receive(connection);
  });
  {
    EventsServiceClient client(path());
    for (int number = 0; number < 5; ++number) {
      client.enableMonitorBundleWithName(
          "x", [&](const std::optional<Error>& error) { cancelled += error == expected ? 1 : 0; });
    }
    arrived.get_future().wait();
  }
  EXPECT_EQ(cancelled, 5);
}

TEST_F(EventsServiceClientTest, WhatAReplyAsksWhileTheClientGoesIsAnsweredToo) {
  std::promise<void> arrived;
  std::atomic<bool> first = true;
  const Service service(path(), [&](int connection) {
    if (first.exchange(false)) {
      arrived.set_value();
    }
    receive(connection);
    receive(connection);
  });
  std::optional<Error> answer;
  {
    EventsServiceClient client(path());
    client.loadMonitorBundleWithPath("/x", [&](const std::optional<Error>&) {
      client.enableMonitorBundleWithName(
          "x", [&](std::optional<Error> error) { answer = std::move(error); });
    });
    arrived.get_future().wait();
  }
  EXPECT_EQ(answer, ownError(kEventsCancelledErrorCode, "the request was given up"));
}

TEST_F(EventsServiceClientTest, WithoutAThreadARequestIsAnsweredAtOnce) {
  const Service service(path(), [&](int connection) {
    receive(connection);
    send(connection, kSuccess);
  });
  EventsServiceClient client(path());
  {
    const NoMoreThreads limit;
    EXPECT_EQ(load(client), makeError(kEventsErrorDomain, EAGAIN, "No thread can be started."));
  }
  EXPECT_EQ(load(client), std::nullopt);
}

}  // namespace
}  // namespace velto
