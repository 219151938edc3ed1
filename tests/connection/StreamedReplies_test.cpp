// SPDX-License-Identifier: Apache-2.0
// Replies without an end.
#include <filesystem>
#include <string>
#include <sys/resource.h>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "tests/connection/TestCalls.h"
#include "tests/connection/TestClient.h"
#include "tests/connection/TestService.h"

namespace velto {
namespace {

constexpr const char* kFollow = R"({"method":"test.service.Follow","more":true})";

std::string word(const std::string& text) {
  return R"({"parameters":{"word":")" + text + R"("},"continues":true})";
}

class StreamedReplies : public testing::Test {
 protected:
  /// Sends the call, and waits until it has been served and waits for news.
  void follow(TestClient& client, std::string_view call = kFollow) {
    const std::size_t before = news_.count();
    ASSERT_TRUE(client.send(call));
    waitUntil([&] { return news_.count() == before + 1; });
  }

  TestService service_;
  TestNews& news_ = service_.shared().news;
};

TEST_F(StreamedReplies, comeAsThereIsSomethingToTell) {
  TestClient client(service_.path());
  follow(client);
  for (const auto* text : {"one", "two", "three"}) {
    news_.tell(text);
    EXPECT_EQ(client.receive(), word(text));
  }
}

TEST_F(StreamedReplies, areDroppedForWhoWantsNone) {
  TestClient client(service_.path());
  client.send(R"({"method":"test.service.Follow","more":true,"oneway":true})");
  EXPECT_EQ(client.ask(kEcho1), kEchoed1);
  EXPECT_EQ(news_.count(), 0u);
}

TEST_F(StreamedReplies, endWhenTheClientHangsUp) {
  TestClient client(service_.path());
  follow(client);
  client.hangUp();
  waitUntil([&] { return news_.count() == 0; });
  waitUntil([&] { return service_.shared().objects == 0; });
}

TEST_F(StreamedReplies, endWhenTheClientSaysThatItHasNoMoreToSay) {
  TestClient client(service_.path());
  follow(client);
  client.shutDownWriting();
  EXPECT_EQ(client.receive(), std::nullopt);
  EXPECT_EQ(news_.count(), 0u);
}

TEST_F(StreamedReplies, endWhenTheClientHangsUpBehindCallsThatNobodyReads) {
  TestClient client(service_.path());
  follow(client);
  client.send(kNote);
  news_.tell("one");
  EXPECT_EQ(client.receive(), word("one"));
  client.hangUp();
  waitUntil([&] { return news_.count() == 0; });
  EXPECT_EQ(service_.shared().calls, 0);
}

/// What the threads of this process have used of processors, in microseconds.
std::int64_t usedTime() {
  rusage usage{};
  ::getrusage(RUSAGE_SELF, &usage);
  const auto of = [](const timeval& time) { return time.tv_sec * 1'000'000 + time.tv_usec; };
  return of(usage.ru_utime) + of(usage.ru_stime);
}

TEST_F(StreamedReplies, restWhileTheClientsNextCallsWait) {
  TestClient client(service_.path());
  follow(client);
  client.send(kNote);
  waitUntil([&] { return news_.vainQuestions() > 0; });
  const int before = news_.vainQuestions();
  const std::int64_t used = usedTime();
  // Others are served meanwhile, so there was time to go around.
  TestClient other(service_.path());
  while (usedTime() - used < 50'000) {
    ASSERT_EQ(other.ask(kEcho1), kEchoed1);
  }
  EXPECT_EQ(news_.vainQuestions(), before);
  news_.tell("one");
  EXPECT_EQ(client.receive(), word("one"));
}

TEST_F(StreamedReplies, costNoThread) {
  std::vector<std::unique_ptr<TestClient>> clients;
  for (int index = 0; index < 50; ++index) {
    clients.push_back(std::make_unique<TestClient>(service_.path()));
    follow(*clients.back());
  }
  EXPECT_LT(threadCount(), 10);
  news_.tell("all");
  for (const auto& client : clients) {
    EXPECT_EQ(client->receive(), word("all"));
  }
}

TEST_F(StreamedReplies, reachAClientThatDidNotReadForAWhile) {
  TestClient client(service_.path());
  follow(client);
  const std::string large(100'000, 'x');
  for (int index = 0; index < 20; ++index) {
    news_.tell(large);
  }
  TestClient other(service_.path());
  EXPECT_EQ(other.ask(kEcho1), kEchoed1);
  for (int index = 0; index < 20; ++index) {
    ASSERT_EQ(client.receive(), word(large));
  }
  news_.tell("end");
  EXPECT_EQ(client.receive(), word("end"));
}

TEST_F(StreamedReplies, endWithTheService) {
  TestClient client(service_.path());
  follow(client);
  service_.beginStop();
  EXPECT_EQ(client.receive(), std::nullopt);
  EXPECT_EQ(news_.count(), 0u);
}

TEST_F(StreamedReplies, keepNobodysFarewellWaiting) {
  TestClient follower(service_.path());
  follow(follower);
  const auto before = std::chrono::steady_clock::now();
  service_.beginStop();
  EXPECT_EQ(follower.receive(), std::nullopt);
  EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::milliseconds(900));
}

/// News, clients that come and go, and calls beside them, all at once.
TEST_F(StreamedReplies, surviveClientsThatComeAndGo) {
  std::atomic<bool> isOver = false;
  std::vector<std::thread> threads;
  threads.emplace_back([&] {
    while (!isOver) {
      news_.tell("word");
      std::this_thread::yield();
    }
  });
  for (int index = 0; index < 3; ++index) {
    threads.emplace_back([&] {
      for (int round = 0; round < 200; ++round) {
        TestClient client(service_.path());
        ASSERT_TRUE(client.send(kFollow));
        for (int words = round % 4; words > 0; --words) {
          ASSERT_EQ(client.receive(), word("word"));
        }
        if (round % 3 == 0) client.send(kNote);
        if (round % 5 == 0) client.shutDownWriting();
      }
    });
  }
  for (std::size_t index = 1; index < threads.size(); ++index) {
    threads[index].join();
  }
  isOver = true;
  threads.front().join();
  waitUntil([&] { return news_.count() == 0 && service_.shared().objects == 0; });
}

}  // namespace
}  // namespace velto
