// SPDX-License-Identifier: Apache-2.0
// Calls that wait, and those of the same user that have to wait for them.

#include "platform/connection/WaitingPlace.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/connection/TestCalls.h"
#include "tests/connection/TestClient.h"
#include "tests/connection/TestService.h"

namespace velto {
namespace {

constexpr int kPlaces = 2;
constexpr TurnLimits kFewPlaces() {
  return {.served = 2, .placesOfUser = kPlaces, .placesOfRoot = kPlaces};
}
constexpr const char* kWaited = R"({"parameters":{"waited":true}})";
constexpr const char* kNoted = R"({"parameters":{}})";

/// A service of which all places are taken, by `clients`.
class WaitingPlaceTest : public testing::Test {
 protected:
  WaitingPlaceTest() {
    for (int i = 0; i < kPlaces; ++i) {
      waiting_.emplace_back(service_.path());
      EXPECT_TRUE(waiting_.back().send(kWait));
    }
    waitUntil([&] { return service_.shared().calls == kPlaces; });
  }

  /// A client whose call is parked: it has replied to the call before, and looked at this one then.
  TestClient parked(const std::string& call = kWait) {
    TestClient client(service_.path());
    EXPECT_TRUE(client.sendBytes(std::string(kEcho1) + '\0' + call + '\0'));
    EXPECT_EQ(client.receive(), kEchoed1);
    return client;
  }

  TestService service_{kFewPlaces()};
  std::vector<TestClient> waiting_;
};

TEST_F(WaitingPlaceTest, isWaitedForWithoutAThread) {
  std::vector<TestClient> clients;
  const int before = threadCount();
  for (int i = 0; i < 100; ++i) {
    clients.push_back(parked());
  }
  EXPECT_EQ(service_.shared().calls, kPlaces);
  EXPECT_LE(threadCount(), before + 3);
  service_.open();
  for (TestClient& client : clients) {
    EXPECT_EQ(client.receive(), kWaited);
  }
  EXPECT_EQ(service_.shared().calls, kPlaces + 100);
}

TEST_F(WaitingPlaceTest, isNotNeededByCallsThatDoNotWait) {
  const TestClient one = parked();
  TestClient other(service_.path());
  for (int i = 0; i < 100; ++i) {
    EXPECT_EQ(other.ask(kEcho1), kEchoed1);
    EXPECT_EQ(other.ask(kNote), kNoted);
  }
}

TEST_F(WaitingPlaceTest, isWaitedForInTheOrderOfTheConnection) {
  TestClient client = parked(std::string(kWait) + '\0' + kEcho1);
  service_.open();
  EXPECT_EQ(client.receive(), kWaited);
  EXPECT_EQ(client.receive(), kEchoed1);
}

TEST_F(WaitingPlaceTest, comesToACallWhoseClientHasHungUp) {
  { const TestClient client = parked(R"({"method":"test.service.Wait","oneway":true})"); }
  service_.open();
  waitUntil([&] { return service_.shared().calls == kPlaces + 1; });
}

TEST_F(WaitingPlaceTest, isNotWaitedForWhenTheServiceStops) {
  TestClient client = parked();
  service_.beginStop();
  service_.open();
  for (TestClient& each : waiting_) {
    EXPECT_EQ(each.receive(), kWaited);
  }
  EXPECT_EQ(client.receive(), std::nullopt);
  EXPECT_EQ(service_.shared().calls, kPlaces);
}

TEST(WaitingPlace, goesBackWhenACallThrows) {
  TestService service(kFewPlaces());
  for (int i = 0; i < 3 * kPlaces; ++i) {
    TestClient client(service.path());
    EXPECT_EQ(client.ask(R"({"method":"test.service.WaitThrow"})"), std::nullopt);
  }
  service.open();
  TestClient client(service.path());
  EXPECT_EQ(client.ask(kWait), kWaited);
}

TEST(WaitingPlace, isNotWaitedForByAConnectionThatIsGivenUp) {
  const TemporaryDirectory directory;
  const std::string path = (directory.path() / "socket").string();
  TestService service(
      [&](RunLoop& runLoop, GuestTable& guests, ErrorSlot error) {
        return Listener::listenerWithPath(runLoop, guests, path, error,
                                          {.userBytes = 2000, .rootBytes = 2000});
      },
      testProtocol(), {.served = 2, .placesOfUser = 1, .placesOfRoot = 1});
  TestClient waiting(path);
  EXPECT_TRUE(waiting.send(kWait));
  waitUntil([&] { return service.shared().calls == 1; });
  TestClient largest(path);
  EXPECT_TRUE(
      largest.sendBytes(std::string(kEcho1) + '\0' + kWait + std::string(1500, ' ') + '\0'));
  EXPECT_EQ(largest.receive(), kEchoed1);
  TestClient other(path);
  EXPECT_TRUE(other.sendBytes(std::string(kEcho1) + '\0' + std::string(1000, ' ')));
  EXPECT_EQ(other.receive(), kEchoed1);
  EXPECT_EQ(largest.receive(), std::nullopt);
  EXPECT_EQ(service.shared().calls, 1);
}

}  // namespace
}  // namespace velto
