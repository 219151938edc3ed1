// SPDX-License-Identifier: Apache-2.0
#include <fstream>
#include <string>
#include <sys/resource.h>
#include <sys/socket.h>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/connection/VarlinkMessage.h"
#include "tests/connection/TestCalls.h"
#include "tests/connection/TestClient.h"
#include "tests/connection/TestService.h"
#include "tests/support/SkipOrFail.h"

namespace velto {
namespace {

// --- Calls and their replies ---

struct Exchange {
  const char* call;
  const char* reply;
};

class Conversation : public testing::TestWithParam<Exchange> {};

TEST_P(Conversation, isAnswered) {
  TestService service;
  TestClient client(service.path());
  EXPECT_EQ(client.ask(GetParam().call), GetParam().reply);
  // Whatever the answer, the connection goes on.
  EXPECT_EQ(client.ask(kEcho1), kEchoed1);
}

INSTANTIATE_TEST_SUITE_P(
    , Conversation,
    testing::Values(
        Exchange{R"({"method":"test.service.Echo","parameters":{"value":{"a":[null,1.5]}}})",
                 R"({"parameters":{"value":{"a":[null,1.5E0]}}})"},
        Exchange{R"({"method":"test.service.Echo","parameters":{"value":1},"more":true})",
                 kEchoed1},
        Exchange{R"({"method":"test.service.Note"})", R"({"parameters":{}})"},
        Exchange{R"({"method":"test.service.Note","com.example.trace":"x"})",
                 R"({"parameters":{}})"},
        Exchange{R"({"method":"test.service.Classes"})", R"({"parameters":{"admitted":true}})"},
        Exchange{R"({"method":"test.service.Count","parameters":{"to":2,"size":0}})",
                 R"({"parameters":{"number":1,"fill":"","number":2,"fill":""}})"},
        Exchange{R"({"method":"test.service.Echo","parameters":null})",
                 R"({"error":"org.varlink.service.InvalidParameter",)"
                 R"("parameters":{"parameter":"value"}})"},
        Exchange{R"({"method":"test.service.Missing"})",
                 R"({"error":"org.varlink.service.MethodNotImplemented",)"
                 R"("parameters":{"method":"test.service.Missing"}})"},
        Exchange{R"({"method":"test.service.Nothing"})",
                 R"({"error":"org.varlink.service.MethodNotFound",)"
                 R"("parameters":{"method":"test.service.Nothing"}})"},
        Exchange{R"({"method":"test.service.note"})",
                 R"({"error":"org.varlink.service.MethodNotFound",)"
                 R"("parameters":{"method":"test.service.note"}})"},
        Exchange{R"({"method":"Note"})", R"({"error":"org.varlink.service.MethodNotFound",)"
                                         R"("parameters":{"method":"Note"}})"},
        Exchange{R"({"method":""})", R"({"error":"org.varlink.service.MethodNotFound",)"
                                     R"("parameters":{"method":""}})"},
        Exchange{R"({"method":"no.such.Note"})",
                 R"({"error":"org.varlink.service.InterfaceNotFound",)"
                 R"("parameters":{"interface":"no.such"}})"},
        Exchange{R"({"method":"test.service.Note","upgrade":true})",
                 R"({"error":"org.varlink.service.InvalidParameter",)"
                 R"("parameters":{"parameter":"upgrade"}})"},
        Exchange{
            R"({"method":"org.varlink.service.GetInfo"})",
            R"({"parameters":{"vendor":"Velto","product":"Test Service",)"
            R"("version":"1.2.3","url":"","interfaces":["org.varlink.service","test.service"]}})"},
        Exchange{R"({"method":"org.varlink.service.GetInfo","parameters":{"x":1}})",
                 R"({"error":"org.varlink.service.InvalidParameter",)"
                 R"("parameters":{"parameter":"x"}})"},
        Exchange{R"({"method":"org.varlink.service.GetNothing"})",
                 R"({"error":"org.varlink.service.MethodNotFound",)"
                 R"("parameters":{"method":"org.varlink.service.GetNothing"}})"},
        Exchange{R"({"method":"org.varlink.service.GetInterfaceDescription",)"
                 R"("parameters":{"interface":"test.service"}})",
                 R"({"parameters":{"description":)"
                 R"("# A \"quoted\" description.\ninterface test.service\n"}})"},
        Exchange{R"({"method":"org.varlink.service.GetInterfaceDescription",)"
                 R"("parameters":{"interface":"no.such"}})",
                 R"({"error":"org.varlink.service.InterfaceNotFound",)"
                 R"("parameters":{"interface":"no.such"}})"},
        Exchange{R"({"method":"org.varlink.service.GetInterfaceDescription"})",
                 R"({"error":"org.varlink.service.InvalidParameter",)"
                 R"("parameters":{"parameter":"interface"}})"},
        Exchange{R"({"method":"org.varlink.service.GetInterfaceDescription",)"
                 R"("parameters":{"interface":"test.service","x":null}})",
                 R"({"error":"org.varlink.service.InvalidParameter",)"
                 R"("parameters":{"parameter":"x"}})"}));

TEST(SocketConnection, describesTheServiceInterface) {
  TestService service;
  TestClient client(service.path());
  const auto reply = client.ask(R"({"method":"org.varlink.service.GetInterfaceDescription",)"
                                R"("parameters":{"interface":"org.varlink.service"}})");
  ASSERT_TRUE(reply);
  for (const auto* part :
       {"interface org.varlink.service\\n", "method GetInfo() ->", "error ExpectedMore ()"}) {
    EXPECT_THAT(*reply, testing::HasSubstr(part));
  }
}

class Nonsense : public testing::TestWithParam<std::string> {};

TEST_P(Nonsense, endsTheConnection) {
  TestService service;
  TestClient client(service.path());
  EXPECT_EQ(client.ask(kEcho1), kEchoed1);
  ASSERT_TRUE(client.send(GetParam()));
  client.send(kNote);
  EXPECT_EQ(client.receive(), std::nullopt);
  waitUntil([&] { return service.shared().objects == 0; });
  EXPECT_EQ(service.shared().calls, 0);
}

INSTANTIATE_TEST_SUITE_P(, Nonsense,
                         testing::Values("", "GET / HTTP/1.1\r\n\r\n", "[]", "{}",
                                         R"({"method":"test.service.Note","x":1})",
                                         "{\"method\":\"\xff\"}",
                                         R"({"method":"test.service.Throw"})"));

TEST(SocketConnection, servesPipelinedCallsInOrder) {
  TestService service;
  TestClient client(service.path());
  constexpr int kCalls = 1000;  // several turns
  std::string calls;
  for (int i = 0; i < kCalls; ++i) {
    calls.append(echoOf(std::to_string(i))).push_back('\0');
  }
  ASSERT_TRUE(client.sendBytes(calls));
  for (int i = 0; i < kCalls; ++i) {
    ASSERT_EQ(client.receive(), R"({"parameters":{"value":")" + std::to_string(i) + R"("}})");
  }
}

/// What comes at once of the replies to many calls that were sent at once.
std::string firstOfTheReplies(const TestService& service, const std::string& calls) {
  TestClient client(service.path());
  EXPECT_TRUE(client.sendBytes(calls));
  std::string received(2 * calls.size(), ' ');
  received.resize(
      static_cast<std::size_t>(::recv(client.descriptor(), received.data(), received.size(), 0)));
  return received;
}

TEST(SocketConnection, sendsTheRepliesToQuickCallsTogether) {
  const TestService service;
  std::string calls;
  std::string replies;
  for (int i = 0; i < 64; ++i) {
    calls.append(kEcho1).push_back('\0');
    replies.append(kEchoed1).push_back('\0');
  }
  // A call that the machine interrupts is not quick, and what it held up is sent before it.
  std::string received;
  for (int attempt = 0; attempt < 100 && received != replies; ++attempt) {
    received = firstOfTheReplies(service, calls);
  }
  EXPECT_EQ(received, replies);
}

class LastMessage : public testing::TestWithParam<const char*> {};

TEST_P(LastMessage, leavesTheRepliesBeforeItToTheClient) {
  TestService service;
  TestClient client(service.path());
  ASSERT_TRUE(client.sendBytes(std::string(kEcho1) + '\0' + GetParam() + '\0' + kNote + '\0'));
  EXPECT_EQ(client.receive(), kEchoed1);
  EXPECT_EQ(client.receive(), std::nullopt);
  EXPECT_EQ(service.shared().calls, 0);
}

INSTANTIATE_TEST_SUITE_P(, LastMessage,
                         testing::Values("nonsense", R"({"method":"test.service.Throw"})"));

TEST(SocketConnection, sendsAReplyBeforeTheNextCallHasEnded) {
  TestService service;
  TestClient client(service.path());
  ASSERT_TRUE(client.sendBytes(std::string(kEcho1) + '\0' + kWait + '\0'));
  EXPECT_EQ(client.receive(), kEchoed1);
  service.open();
  EXPECT_EQ(client.receive(), R"({"parameters":{"waited":true}})");
}

TEST(SocketConnection, runsOnewayCallsWithoutAnAnswer) {
  TestService service;
  TestClient client(service.path());
  for (const auto* method : {"Note", "Missing", "Nothing"}) {
    client.send(std::string(R"({"method":"test.service.)") + method + R"(","oneway":true})");
  }
  client.send(R"({"method":"test.service.Count","parameters":{"to":3,"size":1},)"
              R"("oneway":true,"more":true})");
  client.send(R"({"method":"no.such.Interface","oneway":true})");
  client.send(R"({"method":"test.service.Note","oneway":true,"upgrade":true})");
  EXPECT_EQ(client.ask(kEcho1), kEchoed1);
  EXPECT_EQ(service.shared().calls, 1);
}

TEST(SocketConnection, streamsAReplyInPieces) {
  TestService service;
  TestClient client(service.path());
  ASSERT_TRUE(client.send(countTo(3, 0)));
  EXPECT_EQ(client.receive(), R"({"parameters":{"number":1,"fill":""},"continues":true})");
  EXPECT_EQ(client.receive(), R"({"parameters":{"number":2,"fill":""},"continues":true})");
  EXPECT_EQ(client.receive(), R"({"parameters":{"number":3,"fill":""}})");
  EXPECT_EQ(client.ask(kEcho1), kEchoed1);
}

TEST(SocketConnection, joinsACallThatComesByteByByte) {
  TestService service;
  TestClient client(service.path());
  for (const char byte : std::string(kEcho1) + '\0') {
    ASSERT_TRUE(client.sendBytes({&byte, 1}));
  }
  EXPECT_EQ(client.receive(), kEchoed1);
}

// --- Size and depth ---

TEST(SocketConnection, takesTheLongestCallAndSendsItBack) {
  TestService service;
  TestClient client(service.path());
  const std::string text(kMaximumCallSize - echoOf("").size(), 'x');
  EXPECT_EQ(client.ask(echoOf(text)), R"({"parameters":{"value":")" + text + R"("}})");
  EXPECT_EQ(client.ask(kEcho1), kEchoed1);
}

TEST(SocketConnection, endsAtACallThatIsTooLongBeforeItIsComplete) {
  TestService service;
  TestClient client(service.path());
  // One chunk of input may lie beyond the limit before it is noticed.
  client.sendBytes(std::string(kMaximumCallSize + 65536, ' '));
  EXPECT_EQ(client.receive(), std::nullopt);
}

TEST(SocketConnection, endsAtACallThatIsNestedTooDeeply) {
  TestService service;
  // The envelope and the parameters are two levels.
  const auto nested = [](std::size_t levels) {
    return R"({"method":"test.service.Echo","parameters":{"value":)" + std::string(levels, '[') +
           std::string(levels, ']') + "}}";
  };
  TestClient deep(service.path());
  EXPECT_TRUE(deep.ask(nested(62)));
  EXPECT_EQ(deep.ask(nested(63)), std::nullopt);
}

// --- Replies that come later ---

TEST(SocketConnection, needsNoThreadForCallsThatReplyLater) {
  TestService service;
  const int threads = threadCount();
  std::vector<TestClient> clients;
  for (int i = 0; i < 50; ++i) {
    clients.emplace_back(service.path());
    ASSERT_TRUE(clients.back().send(callOf("Later", std::to_string(i))));
  }
  waitUntil([&] { return service.shared().calls == 50; });
  // Those that took the calls find nothing to do meanwhile, and end.
  waitUntil([&] { return threadCount() <= threads; });
  service.open();
  for (std::size_t i = 0; i < clients.size(); ++i) {
    EXPECT_EQ(clients[i].receive(), echoedText(std::to_string(i)));
    EXPECT_EQ(clients[i].ask(kEcho1), kEchoed1);
  }
}

TEST(SocketConnection, beginsNoCallBeforeTheOneBeforeHasReplied) {
  TestService service;
  TestClient client(service.path());
  client.send(callOf("Later", "first"));
  waitUntil([&] { return service.shared().calls == 1; });
  client.send(kNote);
  client.send(kEcho1);
  TestClient other(service.path());
  EXPECT_EQ(other.ask(kEcho1), kEchoed1);
  EXPECT_EQ(service.shared().calls, 1);
  service.open();
  EXPECT_EQ(client.receive(), echoedText("first"));
  EXPECT_EQ(client.receive(), R"({"parameters":{}})");
  EXPECT_EQ(client.receive(), kEchoed1);
}

TEST(SocketConnection, goesOnWithTheCallsThatCameAlongWithOneThatRepliesLater) {
  TestService service;
  TestClient client(service.path());
  client.sendBytes(callOf("Later", "first") + '\0' + kEcho1 + '\0' + kNote);
  waitUntil([&] { return service.shared().calls == 1; });
  service.open();
  EXPECT_EQ(client.receive(), echoedText("first"));
  EXPECT_EQ(client.receive(), kEchoed1);
  client.sendBytes(std::string_view("\0", 1));
  EXPECT_EQ(client.receive(), R"({"parameters":{}})");
}

TEST(SocketConnection, waitsForOnewayCallsThatReplyLater) {
  TestService service;
  TestClient client(service.path());
  client.send(R"({"method":"test.service.Later","parameters":{"value":1},"oneway":true})");
  client.send(kEcho1);
  waitUntil([&] { return service.shared().calls == 1; });
  service.open();
  EXPECT_EQ(client.receive(), kEchoed1);
}

TEST(SocketConnection, endsWhenThereIsNoMemoryForAReply) {
  TestService service;
  TestClient other(service.path());
  TestClient client(service.path());
  client.sendBytes(std::string(kEcho1) + '\0' + R"({"method":"test.service.Lose"})" + '\0' + kNote +
                   '\0');
  EXPECT_EQ(client.receive(), kEchoed1);
  EXPECT_EQ(client.receive(), std::nullopt);
  EXPECT_EQ(service.shared().calls, 0);
  EXPECT_EQ(other.ask(kEcho1), kEchoed1);
}

TEST(SocketConnection, dropsAReplyThatComesAfterItHasEnded) {
  TestService service;
  TestClient other(service.path());
  EXPECT_EQ(other.ask(kEcho1), kEchoed1);
  TestClient client(service.path());
  client.send(callOf("LaterThrow", "too late"));
  EXPECT_EQ(client.receive(), std::nullopt);
  waitUntil([&] { return service.shared().objects == 1; });
  service.open();
  EXPECT_EQ(other.ask(kEcho1), kEchoed1);
}

TEST(SocketConnection, sendsALongReplyThatComesLater) {
  TestService service;
  TestClient client(service.path());
  const std::string text(3000000, 'x');
  client.send(callOf("Later", text));
  waitUntil([&] { return service.shared().calls == 1; });
  // More than the socket takes, and nobody reads it yet.
  service.open();
  EXPECT_EQ(client.receive(), echoedText(text));
  EXPECT_EQ(client.ask(kEcho1), kEchoed1);
}

TEST(SocketConnection, tellsAnErrorThatComesLater) {
  TestService service;
  TestClient client(service.path());
  client.send(R"({"method":"test.service.Later"})");
  waitUntil([&] { return service.shared().calls == 1; });
  service.open();
  EXPECT_EQ(
      client.receive(),
      R"({"error":"org.varlink.service.InvalidParameter","parameters":{"parameter":"value"}})");
}

TEST(SocketConnection, forgetsAClientThatHangsUpBeforeItsReplyComes) {
  TestService service;
  TestClient client(service.path());
  client.send(callOf("Later", "never read"));
  waitUntil([&] { return service.shared().calls == 1; });
  client.hangUp();
  EXPECT_EQ(service.shared().objects, 1);
  service.open();
  waitUntil([&] { return service.shared().objects == 0; });
}

TEST(SocketConnection, takesRepliesThatComeWhileTheCallReturns) {
  TestService service;
  std::vector<std::thread> threads;
  for (char letter = 'a'; letter < 'e'; ++letter) {
    threads.emplace_back([&, letter] {
      TestClient client(service.path());
      for (std::size_t i = 1; i <= 200; ++i) {
        const std::string text(i, letter);
        ASSERT_TRUE(client.send(callOf("Elsewhere", text)));
        ASSERT_TRUE(client.send(echoOf(text)));
        ASSERT_EQ(client.receive(), echoedText(text));
        ASSERT_EQ(client.receive(), echoedText(text));
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
}

// --- Clients that misbehave ---

TEST(SocketConnection, answersAClientThatHasShutDownItsSide) {
  TestService service;
  TestClient client(service.path());
  client.send(countTo(40, 100000));
  client.send(kWait);
  client.shutDownWriting();
  for (int i = 1; i <= 40; ++i) {
    ASSERT_TRUE(client.receive()) << i;
  }
  service.open();
  EXPECT_EQ(client.receive(), R"({"parameters":{"waited":true}})");
  EXPECT_EQ(client.receive(), std::nullopt);
  waitUntil([&] { return service.shared().objects == 0; });
}

TEST(SocketConnection, forgetsAClientThatHangsUp) {
  TestService service;
  TestClient quiet(service.path());
  TestClient halfway(service.path());
  TestClient calling(service.path());
  TestClient streaming(service.path());
  halfway.sendBytes(R"({"method":"test.serv)");
  calling.send(kWait);
  streaming.send(countTo(1000, 100000));
  waitUntil([&] {
    return service.shared().objects == 4 && service.shared().calls == 1 &&
           service.shared().pieces > 0;
  });

  for (TestClient* client : {&quiet, &halfway, &calling, &streaming}) {
    client->hangUp();
  }
  // The call under way goes on to its end.
  waitUntil([&] { return service.shared().objects == 1; });
  service.open();
  waitUntil([&] { return service.shared().objects == 0; });
}

TEST(SocketConnection, makesNoMorePiecesThanTheClientTakes) {
  TestService service;
  TestClient lazy(service.path());
  lazy.send(countTo(1000, 100000));
  lazy.send(kNote);
  // Several pieces fit in the socket; the others are not made before there is room, nor is the next
  // call begun.
  waitUntil([&] { return service.shared().pieces > 1; });
  TestClient other(service.path());
  EXPECT_EQ(other.ask(kEcho1), kEchoed1);
  EXPECT_LT(service.shared().pieces, 100);
  EXPECT_EQ(service.shared().calls, 0);
  for (int i = 1; i <= 1001; ++i) {
    ASSERT_TRUE(lazy.receive()) << i;
  }
  EXPECT_EQ(service.shared().calls, 1);
}

TEST(SocketConnection, doesNotReadFromAClientThatDoesNotTakeItsReplies) {
  TestService service;
  TestClient lazy(service.path());
  const std::string call = echoOf(std::string(100000, 'x')) + '\0';
  const timeval patience{.tv_sec = 0, .tv_usec = 200000};
  ASSERT_EQ(::setsockopt(lazy.descriptor(), SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof(patience)),
            0);
  int sent = 0;
  while (sent < 1000 && lazy.sendBytes(call)) {
    ++sent;
  }
  EXPECT_LT(sent, 100);
  TestClient other(service.path());
  EXPECT_EQ(other.ask(kEcho1), kEchoed1);
  for (int i = 0; i < sent; ++i) {
    ASSERT_TRUE(lazy.receive()) << i;
  }
}

// --- Many connections ---

TEST(SocketConnection, holdsUpNobodyWhileCallsWait) {
  TestService service;
  std::vector<TestClient> waiting;
  for (int i = 0; i < 50; ++i) {
    waiting.emplace_back(service.path());
    ASSERT_TRUE(waiting.back().send(kWait));
  }
  waitUntil([&] { return service.shared().calls == 50; });

  TestClient other(service.path());
  EXPECT_EQ(other.ask(kEcho1), kEchoed1);
  service.open();
  for (TestClient& client : waiting) {
    EXPECT_EQ(client.receive(), R"({"parameters":{"waited":true}})");
  }
}

TEST(SocketConnection, keepsBusyConnectionsApart) {
  TestService service;
  std::vector<std::thread> threads;
  for (char letter = 'a'; letter < 'i'; ++letter) {
    threads.emplace_back([&, letter] {
      for (std::size_t round = 0; round < 20; ++round) {
        TestClient client(service.path());
        for (std::size_t i = 0; i < 20; ++i) {
          const std::string text(round * 100 + i, letter);
          ASSERT_EQ(client.ask(echoOf(text)), echoedText(text));
        }
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  waitUntil([&] { return service.shared().objects == 0; });
}

/// The memory of this process that is in use, in bytes.
std::size_t residentMemory() {
  std::ifstream statm("/proc/self/statm");
  std::size_t total = 0;
  std::size_t resident = 0;
  statm >> total >> resident;
  return resident * 4096;
}

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kIsInstrumented = true;
#elif defined(__has_feature)
constexpr bool kIsInstrumented =
    __has_feature(thread_sanitizer) || __has_feature(address_sanitizer);
#else
constexpr bool kIsInstrumented = false;
#endif

TEST(SocketConnection, costsLittleWhileIdle) {
  constexpr int kConnections = 2000;
  rlimit limit{};
  getrlimit(RLIMIT_NOFILE, &limit);
  limit.rlim_cur = limit.rlim_max;
  setrlimit(RLIMIT_NOFILE, &limit);
  if (limit.rlim_cur < 2 * kConnections + 100) {
    return skipOrFail("too few descriptors allowed");
  }

  TestService service;
  const int threads = threadCount();
  TestClient first(service.path());
  EXPECT_EQ(first.ask(kEcho1), kEchoed1);
  const std::size_t before = residentMemory();
  std::vector<TestClient> clients;
  clients.reserve(kConnections);
  const std::string longCall = echoOf(std::string(100000, 'x'));
  for (int i = 0; i < kConnections; ++i) {
    clients.emplace_back(service.path());
    // Long messages leave nothing behind.
    ASSERT_TRUE(clients.back().ask(longCall)) << i;
  }
  EXPECT_EQ(service.shared().objects, kConnections + 1);
  const std::size_t each = (residentMemory() - before) / kConnections;
  RecordProperty("bytesPerConnection", static_cast<int>(each));
  // Sanitizers keep memory that was given back.
  EXPECT_TRUE(kIsInstrumented || each < 4096) << each;
  waitUntil([&] { return threadCount() == threads; });
  EXPECT_EQ(first.ask(kEcho1), kEchoed1);
}

}  // namespace
}  // namespace velto
