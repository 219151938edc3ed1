// SPDX-License-Identifier: Apache-2.0
// The push provider against gateways that misbehave.

#include <arpa/inet.h>
#include <curl/curl.h>
#include <filesystem>
#include <sys/socket.h>

#include <gmock/gmock.h>

#include "tests/push/PushTesting.h"
#include "tests/support/NoMoreThreads.h"

namespace velto {
namespace {

using ::testing::AllOf;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::SizeIs;
using ::testing::StartsWith;

class PushFailuresTest : public PushTest {
 protected:
  /// Each of the notifications fails, alike.
  Error onlyError(const std::vector<std::string>& names) {
    const auto told = send(names);
    EXPECT_EQ(told.errors.size(), names.size());
    const Error first = told.errors.empty() ? Error() : told.errors.front();
    EXPECT_THAT(told.reports,
                AllOf(SizeIs(names.size()), Each("error " + std::to_string(first.code))))
        << first.localizedDescription() << "; " << told.errors.back().localizedDescription();
    EXPECT_EQ(first.domain, kPushServiceErrorDomain);
    return first;
  }
};

/// A port of the loopback that takes connections, as far as its queue goes, and never reads.
class SilentPort {
 public:
  explicit SilentPort(int queue)
      : socket_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    EXPECT_EQ(::bind(socket_.get(), reinterpret_cast<sockaddr*>(&address), size), 0);
    EXPECT_EQ(::getsockname(socket_.get(), reinterpret_cast<sockaddr*>(&address), &size), 0);
    EXPECT_EQ(::listen(socket_.get(), queue), 0);
    number_ = ntohs(address.sin_port);
    // A queue that is full drops what else asks for a connection.
    for (int index = 0; index <= queue && queue == 0; ++index) {
      waiting_.emplace_back(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
      EXPECT_EQ(
          ::connect(waiting_.back().get(), reinterpret_cast<sockaddr*>(&address), sizeof address),
          0);
    }
  }

  std::string endpoint() const { return "https://127.0.0.1:" + std::to_string(number_); }

  /// How many connections wait to be taken.
  int connections() const {
    int count = 0;
    for (;; ++count) {
      const FileDescriptor taken(::accept4(socket_.get(), nullptr, nullptr, SOCK_CLOEXEC));
      if (!taken.isOpen()) {
        return count;
      }
    }
  }

 private:
  FileDescriptor socket_;
  std::vector<FileDescriptor> waiting_;
  int number_ = 0;
};

std::size_t openDescriptors() {
  const auto entries = std::filesystem::directory_iterator("/proc/self/fd");
  return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
}

TEST_F(PushFailuresTest, AStreamRefusedUnreadIsSentOnceMore) {
  PushGateway gateway;
  setIdentity(gateway);
  EXPECT_THAT(send(devices("refuse-once", 20)).reports, IsEmpty());
  EXPECT_THAT(arrivals(gateway), AllOf(SizeIs(20), Each(Pair(HasSubstr("refuse"), 2))));
}

TEST_F(PushFailuresTest, AStreamRefusedTwiceHasFailed) {
  PushGateway gateway;
  setIdentity(gateway);
  EXPECT_EQ(onlyError(devices("refuse", 5)).code, kPushRefusedErrorCode);
  EXPECT_THAT(arrivals(gateway), AllOf(SizeIs(5), Each(Pair(HasSubstr("refuse"), 2))));
}

TEST_F(PushFailuresTest, AGatewayThatGoesAwayTakesTheRestOnANewConnection) {
  PushGateway gateway;
  setIdentity(gateway);
  auto names = devices("ok", 250);
  names[10] = "goaway";
  EXPECT_THAT(send(names).reports, IsEmpty());
  EXPECT_THAT(arrivals(gateway), AllOf(SizeIs(250), Each(Pair(testing::_, 1))));
  EXPECT_EQ(gateway.sessions(), 2u);
}

TEST_F(PushFailuresTest, AGatewayMayGrowTiredOfAConnection) {
  PushGateway gateway(R"({"lengthless": true})");
  setIdentity(gateway);
  EXPECT_THAT(send(devices("ok", 5000)).reports, IsEmpty());
  EXPECT_THAT(arrivals(gateway), SizeIs(5000));
  EXPECT_GT(gateway.sessions(), 1u);
}

TEST_F(PushFailuresTest, AConnectionClosedBetweenCallsIsReplaced) {
  PushGateway gateway;
  setIdentity(gateway);
  for (int round = 0; round < 3; ++round) {
    EXPECT_THAT(send({"close"}).reports, IsEmpty());
    EXPECT_THAT(send({"ok " + std::to_string(round)}).reports, IsEmpty());
  }
  EXPECT_THAT(gateway.requests(), SizeIs(6));
  EXPECT_GT(gateway.sessions(), 1u);
}

TEST_F(PushFailuresTest, AGatewayThatHangsUpFailsWhatWasUnderWay) {
  PushGateway gateway;
  setIdentity(gateway);
  const auto told = send({"destroy"});
  EXPECT_THAT(told.reports, SizeIs(1));
  EXPECT_THAT(send({"ok"}).reports, IsEmpty());
}

TEST_F(PushFailuresTest, AStreamThatIsResetHasFailed) {
  PushGateway gateway;
  setIdentity(gateway);
  EXPECT_EQ(onlyError({"reset"}).code, CURLE_HTTP2_STREAM);
  EXPECT_THAT(send({"ok"}).reports, IsEmpty());
}

TEST_F(PushFailuresTest, AnAnswerThatIsCutOffIsNone) {
  PushGateway gateway;
  setIdentity(gateway);
  for (const char* name : {"cut 200", "cut 500"}) {
    EXPECT_THAT(send({name}).reports, ElementsAre(StartsWith("error "))) << name;
  }
}

TEST_F(PushFailuresTest, OfALongAnswerTheBeginningIsEnough) {
  PushGateway gateway;
  setIdentity(gateway);
  EXPECT_THAT(send({"large 65536", "large 65537", "large 10000000"}).reports,
              Each("500 " + std::string(65536, 'x')));
  EXPECT_THAT(send({"ok"}).reports, IsEmpty());
}

TEST_F(PushFailuresTest, WhoNeverAnswersIsNotWaitedForForever) {
  limits_.total = std::chrono::seconds(1);
  PushGateway gateway;
  setIdentity(gateway);
  auto names = devices("hang", 150);
  names.insert(names.begin(), "status 410 gone");
  const auto told = send(names);
  EXPECT_THAT(told.reports, SizeIs(151));
  EXPECT_THAT(told.reports[0], "410 gone");
  EXPECT_THAT(told.errors, AllOf(SizeIs(150), Each(told.errors.at(0))));
  EXPECT_EQ(told.errors.at(0).code, kPushTimedOutErrorCode);
  EXPECT_THAT(send({"ok"}).reports, IsEmpty());
}

TEST_F(PushFailuresTest, AnUnfinishedAnswerHoldsBackOnlyItself) {
  limits_.total = std::chrono::seconds(3);
  PushGateway gateway;
  setIdentity(gateway);
  auto names = devices("ok", 60);
  names.insert(names.begin(), {"unfinished 200", "unfinished 500"});
  EXPECT_THAT(send(names).errors, SizeIs(2));
  EXPECT_THAT(arrivals(gateway), AllOf(SizeIs(62), Each(Pair(testing::_, 1))));
}

TEST_F(PushFailuresTest, AnAnswerThatNeverBeginsHoldsBackOnlyItself) {
  limits_.firstAnswer = std::chrono::milliseconds(10);
  limits_.total = std::chrono::seconds(3);
  PushGateway gateway;
  setIdentity(gateway);
  auto names = devices("ok", 60);
  names.insert(names.begin(), "hang");
  EXPECT_THAT(send(names).errors, SizeIs(1));
  EXPECT_THAT(arrivals(gateway), AllOf(SizeIs(61), Each(Pair(testing::_, 1))));
}

TEST_F(PushFailuresTest, WhoDoesNotAnswerIsWaitedForOnceABatch) {
  limits_.total = std::chrono::seconds(1);
  PushGateway gateway;
  setIdentity(gateway);
  {
    const PushBatch batch(provider());
    const auto silence = onlyError(devices("hang", 2));
    EXPECT_EQ(silence.code, kPushTimedOutErrorCode);
    EXPECT_EQ(onlyError(devices("later", 2)), silence);
  }
  EXPECT_THAT(send({"ok"}).reports, IsEmpty()) << "the next batch asks anew";
  EXPECT_THAT(arrivals(gateway), testing::Not(testing::Contains(Pair(StartsWith("later"), 1))));
}

TEST_F(PushFailuresTest, ABlackHoleIsWaitedForOnceABatch) {
  limits_.connecting = std::chrono::milliseconds(100);
  const SilentPort hole(16);
  // An authority of the test's own, since the machine need not have any.
  setFile("ca.pem", "ca.pem");
  setIdentity(hole.endpoint(), "CertificateAuthority = \"/pki/ca.pem\";");
  const PushBatch batch(provider());
  const auto silence = onlyError(devices("ok", 5));
  EXPECT_EQ(silence.code, CURLE_OPERATION_TIMEDOUT);
  EXPECT_EQ(onlyError(devices("ok", 5)), silence);
  EXPECT_EQ(hole.connections(), 1);
}

TEST_F(PushFailuresTest, TheTimeOfABatchIsThatOfAllItsCalls) {
  limits_.total = std::chrono::milliseconds(300);
  PushGateway gateway;
  setIdentity(gateway);
  const auto begin = PushReports::Clock::now();
  const PushBatch batch(provider());
  while (send({"slow 50"}).errors.empty()) {
    ASSERT_LT(PushReports::Clock::now() - begin, std::chrono::minutes(1));
  }
  EXPECT_GE(PushReports::Clock::now() - begin, limits_.total);
}

TEST_F(PushFailuresTest, AfterASilenceAnotherConnectionIsTried) {
  PushGateway gateway;
  setIdentity(gateway);
  EXPECT_THAT(send({"ok 1"}).reports, IsEmpty());
  limits_.total = std::chrono::seconds(1);
  provider_.reset();
  EXPECT_THAT(send({"ok 2"}).reports, IsEmpty());
  gateway.pause();
  EXPECT_EQ(onlyError({"ok 3"}).code, kPushTimedOutErrorCode);
  gateway.resume();
  // The answers are too slow for this limit on a busy machine.
  limits_.total = PushTimeLimits().total;
  EXPECT_EQ(gateway.sessions(), 2u);
}

TEST_F(PushFailuresTest, EveryCallEndsInTime) {
  limits_.total = std::chrono::milliseconds(300);
  PushGateway gateway(R"({"delay": 20, "maxStreams": 1})");
  setIdentity(gateway);
  const auto told = send(devices("ok", 400));
  EXPECT_THAT(told.reports, AllOf(testing::Not(IsEmpty()), Each(StartsWith("error "))));
}

TEST_F(PushFailuresTest, ACertificateThatDoesNotVerifyIsRefused) {
  PushGateway gateway;
  setIdentity(gateway);
  setIdentity(gateway.endpoint(), "CertificateAuthority = \"/pki/client.pem\";");
  const auto error = onlyError(devices("ok", 150));
  EXPECT_EQ(error.code, CURLE_PEER_FAILED_VERIFICATION);
  EXPECT_THAT(error.localizedDescription(),
              AllOf(HasSubstr(gateway.endpoint()), HasSubstr("certificate"),
                    HasSubstr("(checked by "), HasSubstr("/pki/client.pem")));
  EXPECT_THAT(gateway.requests(), IsEmpty());
}

TEST_F(PushFailuresTest, ACertificateForAnotherNameIsRefused) {
  PushGateway gateway;
  setIdentity(gateway);
  setIdentity("https://127.0.0.2:" + std::to_string(gateway.port()),
              "CertificateAuthority = \"/pki/ca.pem\";");
  // Nothing listens there, or somebody with another name: never a notification to a stranger.
  EXPECT_THAT(send({"ok"}).errors, SizeIs(1));
  EXPECT_THAT(gateway.requests(), IsEmpty());
}

TEST_F(PushFailuresTest, AGatewayThatWantsACertificateGetsNothingWithoutOne) {
  PushGateway gateway(R"({"requireClient": true})");
  setIdentity(gateway);
  EXPECT_THAT(send({"ok"}).reports, IsEmpty());
  setIdentity(gateway.endpoint(), "CertificateAuthority = \"/pki/ca.pem\";");
  EXPECT_THAT(send(devices("ok", 3)).errors, SizeIs(3));
  EXPECT_THAT(gateway.requests(), SizeIs(1));
}

TEST_F(PushFailuresTest, AMissingCertificateIsNamed) {
  PushGateway gateway;
  root_.write("pki/ca.pem", readFile(testCertificates() / "ca.pem"));
  setIdentity(gateway.endpoint(),
              "CertificateAuthority = \"/pki/ca.pem\"; Certificate = \"/nowhere.pem\";");
  const auto error = onlyError({"ok"});
  EXPECT_EQ(error.code, CURLE_SSL_CERTPROBLEM);
  EXPECT_THAT(error.localizedDescription(), HasSubstr("/nowhere.pem"));
}

TEST_F(PushFailuresTest, AFileThatHoldsSomethingElseIsNamed) {
  PushGateway gateway;
  setIdentity(gateway);
  setFile("client.pem", "log");
  EXPECT_THAT(onlyError({"ok"}).localizedDescription(), HasSubstr("/pki/client.pem"));
  setIdentity(gateway);
  setFile("ca.pem", "log");
  EXPECT_THAT(onlyError({"ok"}).localizedDescription(), HasSubstr("/pki/ca.pem"));
}

TEST_F(PushFailuresTest, ANameThatDoesNotResolveFailsAtOnceForAll) {
  setIdentity("https://gateway.invalid/device");
  const auto error = onlyError(devices("ok", 500));
  EXPECT_THAT(error.code, testing::AnyOf(CURLE_COULDNT_RESOLVE_HOST, CURLE_OPERATION_TIMEDOUT));
  EXPECT_THAT(error.localizedDescription(), HasSubstr("gateway.invalid"));
}

TEST_F(PushFailuresTest, APortThatNobodyListensAtFailsForAll) {
  setIdentity("https://127.0.0.1:1/device");
  EXPECT_EQ(onlyError(devices("ok", 500)).code, CURLE_COULDNT_CONNECT);
}

TEST_F(PushFailuresTest, ABlackHoleCostsTheTimeOfOneConnection) {
  limits_.connecting = std::chrono::milliseconds(300);
  const SilentPort hole(0);
  setIdentity(hole.endpoint());
  EXPECT_EQ(onlyError(devices("ok", 500)).code, CURLE_OPERATION_TIMEDOUT);
}

TEST_F(PushFailuresTest, AGatewayThatNeverSpeaksTLSCostsTheTimeOfOneConnection) {
  limits_.connecting = std::chrono::milliseconds(300);
  const SilentPort port(16);
  root_.write("pki/ca.pem", readFile(testCertificates() / "ca.pem"));
  setIdentity(port.endpoint(), "CertificateAuthority = \"/pki/ca.pem\";");
  EXPECT_EQ(onlyError(devices("ok", 500)).code, CURLE_OPERATION_TIMEDOUT);
}

TEST_F(PushFailuresTest, AThousandFailuresAreReportedAndLeaveNoDescriptor) {
  PushGateway gateway;
  setIdentity(gateway);
  send({"ok"});
  const std::size_t before = openDescriptors();
  const std::vector<std::string> kinds = {"status 500", "cut 200", "reset", "refuse", "large 9"};
  for (int round = 0; round < 10; ++round) {
    std::vector<std::string> burst;
    for (std::size_t index = 0; index < 100; ++index) {
      burst.push_back(kinds[index % kinds.size()] + " " + std::to_string(index));
    }
    EXPECT_THAT(send(burst).reports, SizeIs(burst.size()));
  }
  EXPECT_THAT(send({"ok"}).reports, IsEmpty());
  EXPECT_EQ(openDescriptors(), before);
}

TEST_F(PushFailuresTest, HangingUpTimeAndAgainLeavesNoDescriptor) {
  PushGateway gateway;
  setIdentity(gateway);
  send({"ok"});
  const std::size_t before = openDescriptors();
  for (int round = 0; round < 20; ++round) {
    auto burst = devices("ok " + std::to_string(round), 20);
    burst[5] = "destroy";
    burst[10] = "goaway";
    burst[15] = "close";
    EXPECT_THAT(send(burst).reports.size(), testing::Le(burst.size()));
  }
  EXPECT_THAT(send({"ok"}).reports, IsEmpty());
  EXPECT_EQ(openDescriptors(), before);
}

TEST_F(PushFailuresTest, WithoutAThreadEachNotificationFailsAtOnce) {
  PushGateway gateway;
  setIdentity(gateway);
  {
    const NoMoreThreads limit;
    EXPECT_EQ(onlyError({"one", "two"}), makeError(kPushServiceErrorDomain, kPushNoThreadErrorCode,
                                                   "No thread can be started."));
  }
  EXPECT_THAT(send({"three"}).reports, IsEmpty());
  EXPECT_THAT(arrivals(gateway), ElementsAre(Pair("three", 1)));
}

}  // namespace
}  // namespace velto
