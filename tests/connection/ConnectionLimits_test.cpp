// SPDX-License-Identifier: Apache-2.0
// What a connection may cost, and how long it waits for its client.

#include <chrono>
#include <string>
#include <sys/socket.h>

#include <gtest/gtest.h>

#include "platform/connection/ConnectionTable.h"
#include "tests/connection/TestCalls.h"
#include "tests/connection/TestClient.h"
#include "tests/connection/TestService.h"

namespace velto {
namespace {

/// A service with short patience.
class ImpatientService {
 public:
  explicit ImpatientService(const ConnectionLimits& limits, std::size_t maximumCallSize = 1000)
      : service_([&](RunLoop& runLoop, GuestTable& guests, ErrorSlot error) {
          return Listener::listenerWithPath(runLoop, guests, path_, error, limits);
        }) {
    service_.setMaximumCallSize(maximumCallSize);
  }

  const std::string& path() const { return path_; }
  TestService& service() { return service_; }

 private:
  TemporaryDirectory directory_;
  const std::string path_ = (directory_.path() / "socket").string();
  TestService service_;
};

constexpr ConnectionLimits kShortPatience{.halfCall = std::chrono::milliseconds(50),
                                          .untakenReply = std::chrono::milliseconds(50)};

TEST(ConnectionLimits, endsWhenACallDoesNotGoOn) {
  const ImpatientService service(kShortPatience);
  TestClient patient(service.path());
  EXPECT_EQ(patient.ask(kEcho1), kEchoed1);
  TestClient halfway(service.path());
  halfway.sendBytes(std::string(kEcho1) + '\0' + R"({"method":)");
  EXPECT_EQ(halfway.receive(), kEchoed1);
  EXPECT_EQ(halfway.receive(), std::nullopt);
  EXPECT_EQ(patient.ask(kEcho1), kEchoed1);
}

TEST(ConnectionLimits, aCallThatCameInPartsMayTakeLonger) {
  constexpr std::size_t kMoreThanIsReadAtOnce = 150'000;
  ImpatientService service(kShortPatience, 2 * kMoreThanIsReadAtOnce);
  TestClient caller(service.path());
  caller.sendBytes(R"({"method":"test.service.Wait")" + std::string(kMoreThanIsReadAtOnce, ' ') +
                   "}" + '\0');
  waitUntil([&] { return service.service().shared().calls == 1; });
  // One that begins to wait later ends first.
  TestClient halfway(service.path());
  halfway.sendBytes(R"({"method":)");
  EXPECT_EQ(halfway.receive(), std::nullopt);
  service.service().open();
  EXPECT_EQ(caller.receive(), R"({"parameters":{"waited":true}})");
}

TEST(ConnectionLimits, endsWhenNobodyTakesTheReply) {
  const ImpatientService service(kShortPatience);
  TestClient lazy(service.path());
  lazy.send(countTo(1000, 100000));
  // Its end shows when all that was sent before has been taken.
  waitUntil([&] { return ::send(lazy.descriptor(), "", 0, MSG_NOSIGNAL) < 0; });
  int taken = 0;
  while (lazy.receive()) {
    ++taken;
  }
  EXPECT_LT(taken, 1000);
}

TEST(ConnectionLimits, endsTheOneThatHoldsMostOfAUserWhoHoldsTooMuch) {
  const ImpatientService service({.userBytes = 500, .rootBytes = 500});
  TestClient small(service.path());
  TestClient large(service.path());
  TestClient last(service.path());
  small.sendBytes(R"({"method":)");
  large.sendBytes(std::string(400, ' '));
  EXPECT_EQ(last.ask(kEcho1), kEchoed1);
  last.sendBytes(std::string(200, ' '));
  EXPECT_EQ(large.receive(), std::nullopt);
  last.sendBytes(std::string(1, '\0'));
  EXPECT_EQ(last.receive(), std::nullopt);  // what it sent was not a call
  small.sendBytes(std::string(R"("test.service.Note"})") + '\0');
  EXPECT_EQ(small.receive(), R"({"parameters":{}})");
}

TEST(ConnectionLimits, endsAtACallThatIsLongerThanTheClientMaySend) {
  const ImpatientService service({}, 1000);
  const std::string fitting = echoOf(std::string(1000 - echoOf("").size(), 'x'));
  TestClient client(service.path());
  EXPECT_TRUE(client.ask(fitting));
  EXPECT_EQ(client.ask(echoOf(std::string(1001 - echoOf("").size(), 'x'))), std::nullopt);
  TestClient halfway(service.path());
  halfway.sendBytes(std::string(1001, ' '));
  EXPECT_EQ(halfway.receive(), std::nullopt);
}

}  // namespace
}  // namespace velto
