// SPDX-License-Identifier: Apache-2.0
#include "platform/connection/RunLoop.h"

#include <memory>
#include <string>
#include <sys/eventfd.h>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "tests/connection/AcceptHook.h"
#include "tests/connection/TestClient.h"
#include "tests/connection/TestService.h"

namespace velto {
namespace {

constexpr const char* kNote = R"({"method":"test.service.Note"})";
constexpr const char* kWait = R"({"method":"test.service.Wait"})";
constexpr int kClients = 16;  // as many calls as any user may have waiting

std::vector<TestClient> waitingClients(TestService& service) {
  std::vector<TestClient> clients;
  for (int i = 0; i < kClients; ++i) {
    clients.emplace_back(service.path());
    EXPECT_TRUE(clients.back().send(kWait));
  }
  waitUntil([&] { return service.shared().calls == kClients; });
  return clients;
}

TEST(RunLoop, returnsAfterStop) {
  RunLoop runLoop;
  std::thread thread([&] { runLoop.run(); });
  runLoop.stop();
  thread.join();
}

TEST(RunLoop, hasAThreadForEachCallUnderWayAndOneThatWaits) {
  TestService service;
  const int before = threadCount();
  const auto clients = waitingClients(service);
  EXPECT_GE(threadCount(), before + kClients);
  service.open();
}

TEST(RunLoop, endsTheThreadsThatHaveNothingToDo) {
  TestService service;
  const int before = threadCount();
  auto clients = waitingClients(service);
  service.open();
  for (TestClient& client : clients) {
    EXPECT_TRUE(client.receive());
  }
  waitUntil([&] { return threadCount() == before; });
  EXPECT_EQ(clients.front().ask(kNote), R"({"parameters":{}})");
}

TEST(RunLoop, keepsAThreadWaitingThroughALongCall) {
  TestService service;
  const int before = threadCount();
  TestClient waiting(service.path());
  ASSERT_TRUE(waiting.send(kWait));
  waitUntil([&] { return service.shared().calls == 1; });
  // Others come and go meanwhile, until all threads but the two that are needed have ended.
  {
    std::vector<TestClient> clients;
    for (int i = 0; i < kClients; ++i) {
      clients.emplace_back(service.path());
      EXPECT_TRUE(clients.back().ask(kNote));
    }
  }
  waitUntil([&] { return threadCount() <= before + 1; });
  TestClient other(service.path());
  EXPECT_EQ(other.ask(kNote), R"({"parameters":{}})");
}

TEST(RunLoop, letsTheCallsUnderWayEndWhenItIsStopped) {
  std::vector<TestClient> clients;
  {
    TestService service;
    clients = waitingClients(service);
  }  // stops, once the calls have ended
  for (TestClient& client : clients) {
    EXPECT_EQ(client.receive(), R"({"parameters":{"waited":true}})");
    EXPECT_EQ(client.receive(), std::nullopt);
  }
}

/// Who connected before the stop cannot know of it, so their first call is no call of too late.
TEST(RunLoop, servesTheFirstCallOfANewcomerWhenItIsStopped) {
  TestService service;
  TestClient known(service.path());
  EXPECT_EQ(known.ask(kNote), R"({"parameters":{}})");
  TestClient newcomer(service.path());
  TestClient second(service.path());
  waitUntil([&] { return service.tokens().size() == 3; });
  service.beginStop();
  EXPECT_EQ(newcomer.ask(kNote), R"({"parameters":{}})");
  EXPECT_EQ(newcomer.ask(kNote), std::nullopt);
  EXPECT_TRUE(second.sendBytes(std::string(kNote) + '\0' + kNote + '\0'));
  EXPECT_EQ(second.receive(), R"({"parameters":{}})");
  EXPECT_EQ(second.receive(), std::nullopt) << "it is only the first call that is owed";
  EXPECT_EQ(known.receive(), std::nullopt);
  EXPECT_EQ(service.shared().calls, 3);
}

/// The stop comes when the client has left the socket's queue and has no connection yet.
TEST(RunLoop, servesTheFirstCallOfWhoIsBeingLetInWhenItIsStopped) {
  TestService service;
  const AcceptHook hook([&] { service.beginStop(); });
  TestClient newcomer(service.path());
  EXPECT_EQ(newcomer.ask(kNote), R"({"parameters":{}})");
  EXPECT_EQ(newcomer.ask(kNote), std::nullopt);
}

TEST(RunLoop, doesNotWaitForANewcomerForEverWhenItIsStopped) {
  TestService service;
  TestClient silent(service.path());
  waitUntil([&] { return service.tokens().size() == 1; });
  service.beginStop();
  EXPECT_EQ(silent.receive(), std::nullopt);
}

TEST(RunLoop, waitsForCallsThatReplyLaterWhenItIsStopped) {
  RunLoop runLoop;
  TestObject::Shared shared;
  class Suspended : public EventSource {
   public:
    Suspended(FileDescriptor descriptor, TestObject::Shared& shared)
        : EventSource(std::move(descriptor)), shared_(shared) {
      ++shared_.objects;
    }
    ~Suspended() override { --shared_.objects; }
    Event serve() noexcept override {
      ++shared_.calls;
      return Event::kLater;
    }

   private:
    TestObject::Shared& shared_;
  };
  auto made = std::make_unique<Suspended>(FileDescriptor(::eventfd(1, EFD_CLOEXEC)), shared);
  Suspended& source = *made;
  runLoop.add(std::move(made), Event::kInput);
  std::thread thread([&] { runLoop.run(); });
  waitUntil([&] { return shared.calls == 1; });
  runLoop.stop();
  EXPECT_EQ(shared.objects, 1);
  runLoop.resume(source, Event::kNone);
  thread.join();
  EXPECT_EQ(shared.objects, 0);
}

}  // namespace
}  // namespace velto
