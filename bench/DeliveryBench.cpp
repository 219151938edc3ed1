// SPDX-License-Identifier: Apache-2.0
// Delivery: notifications beside bare libcurl, the start of the mail program beside bare
// posix_spawn.

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <benchmark/benchmark.h>
#include <fmt/format.h>

#include "bench/BareDelivery.h"
#include "bench/Comparisons.h"
#include "bench/SampleStore.h"
#include "delivery/ADAlertMailer.h"
#include "delivery/ADAlertPusher.h"
#include "platform/foundation/Clock.h"
#include "platform/foundation/FileManager.h"
#include "platform/foundation/Log.h"
#include "platform/push/UlmoraPushServiceProvider.h"
#include "tests/support/PushGateway.h"

namespace velto::bench {

namespace {

constexpr std::string_view kMessage = "/home is almost full";
constexpr const char* kHeader = "To: a@example.org\nSubject: text\n";

/// A directory that everything is looked up in, as long as this object lives.
struct Root : BenchDirectory {
  Root() { setenv("VELTO_ROOT", path().c_str(), 1); }
  ~Root() { unsetenv("VELTO_ROOT"); }
  Root(const Root&) = delete;
  Root& operator=(const Root&) = delete;
};

/// Nobody reads of a benchmark's deliveries.
class NoJournal : public DeliveryJournal {
 public:
  void add(const VLAlert& /*alert*/, const DeliveryOutcome& /*outcome*/) override {}
};

/// Everything the benchmarks use.
struct Delivery {
  explicit Delivery(std::size_t count)
      : registry(root.path(), FileManager::system(), Clock::system(), Log::system()),
        authority((testCertificates() / "ca.pem").string()),
        mailer(registry, VELTO_MAIL_SINK, Log::system(), Clock::system(), journal) {
    std::filesystem::copy(authority, root.path() + "/ca.pem");
    for (std::size_t number = 0; number < count; ++number) {
      tokens.emplace_back(fmt::format("ok {:029}", number));
      devices.emplace_back();
      for (const auto byte : tokens.back().bytes()) {
        devices.back() += fmt::format("{:02x}", byte);
      }
    }
  }

  const Root root;
  AlertBundleRegistry registry;
  NoJournal journal;
  const std::string authority;
  ADAlertMailer mailer;
  std::vector<Data> tokens;
  std::vector<std::string> devices;  ///< the same in hexadecimal
};

std::unique_ptr<Delivery> delivery;

/// A gateway, and a pusher whose identity file leads to it.
class PushRoad {
 public:
  explicit PushRoad(const std::string& options) : gateway_(options) {
    const std::string file = delivery->root.path() + "/etc/velto/push/gateway.plist";
    std::filesystem::remove(file);
    writeFile(file, fmt::format("{{ Endpoint = \"{}\"; CertificateAuthority = \"/ca.pem\"; }}",
                                gateway_.endpoint()));
    std::filesystem::permissions(file, std::filesystem::perms::owner_read);
    pusher_ = std::make_unique<ADAlertPusher>(delivery->registry, Clock::system(),
                                              delivery->journal, [](const std::string&) {
                                                return std::make_unique<UlmoraPushServiceProvider>(
                                                    "gateway", PushTimeLimits(), Clock::system());
                                              });
  }

  bool send(bool isAll) {
    return !pusher_->sendPushNotificationToTokens(
        isAll ? delivery->tokens : std::vector{delivery->tokens.front()}, kMessage, Date(1.5));
  }

 private:
  PushGateway gateway_;
  std::unique_ptr<ADAlertPusher> pusher_;
};

/// A gateway, and bare libcurl.
struct BareRoad {
  explicit BareRoad(const std::string& options)
      : gateway(options), bare(gateway.endpoint(), delivery->authority) {}

  bool send(bool isAll) {
    const std::string payload = fmt::format("{{\"zel\":{{\"alert\":\"{}\"}}}}", kMessage);
    return bare.send(isAll ? delivery->devices : std::vector{delivery->devices.front()}, payload);
  }

  PushGateway gateway;
  BareMulti bare;
};

/// Sends to all devices over a connection that is warm and has carried one notification: after some
/// 1,000 the gateway closes it.
template <typename Road>
void sendToAll(benchmark::State& state, const std::string& options) {
  for (auto _ : state) {
    state.PauseTiming();
    auto road = std::make_unique<Road>(options);
    const bool isWarm = road->send(false);
    state.ResumeTiming();
    const bool isGood = road->send(true);
    state.PauseTiming();
    road.reset();
    state.ResumeTiming();
    if (!isWarm || !isGood) {
      state.SkipWithError("not all were accepted");
    }
  }
}

void bareNotifications(benchmark::State& state) {
  sendToAll<BareRoad>(state, R"({"forgets": true})");
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(delivery->tokens.size()));
}

void notifications(benchmark::State& state) {
  sendToAll<PushRoad>(state, R"({"forgets": true})");
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(delivery->tokens.size()));
}

void fiftyMilliseconds(benchmark::State& state) {
  for (auto _ : state) {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  state.SetItemsProcessed(state.iterations());
}

void toASlowGateway(benchmark::State& state) {
  sendToAll<PushRoad>(state, R"({"forgets": true, "delay": 50})");
  state.SetItemsProcessed(state.iterations());
}

void barePosixSpawn(benchmark::State& state) {
  for (auto _ : state) {
    if (bareSpawn(VELTO_MAIL_SINK, kHeader) != 0) {
      state.SkipWithError("the program failed");
    }
  }
  state.SetItemsProcessed(state.iterations());
}

void sendMail(benchmark::State& state) {
  for (auto _ : state) {
    if (delivery->mailer.sendMail({"a@example.org"}, "text", std::nullopt, std::nullopt) != 0) {
      state.SkipWithError("the program failed");
    }
  }
  state.SetItemsProcessed(state.iterations());
}

/// As if the daemon had grown.
void sendMailFromAGigabyte(benchmark::State& state) {
  constexpr std::size_t kSize = std::size_t{1} << 30;
  std::vector<char> memory(kSize);
  std::memset(memory.data(), 1, memory.size());
  benchmark::DoNotOptimize(memory.data());
  sendMail(state);
}

BENCHMARK(bareNotifications)->UseRealTime();
BENCHMARK(notifications)->UseRealTime();
BENCHMARK(fiftyMilliseconds)->UseRealTime();
BENCHMARK(toASlowGateway)->UseRealTime();
BENCHMARK(barePosixSpawn)->UseRealTime();
BENCHMARK(sendMail)->UseRealTime();
BENCHMARK(sendMailFromAGigabyte)->UseRealTime();

int run(int argc, char** argv) {
  std::signal(SIGPIPE, SIG_IGN);
  const bool isQuick = takeArguments(argc, argv);
  if (!PushGateway::isAvailable()) {
    fmt::print("node and openssl are needed\n");
    return 0;
  }
  delivery = std::make_unique<Delivery>(isQuick ? 10 : 1000);
  using Goal = Comparison::Goal;
  const int status =
      runAndCompare({{"A notification of 1,000 beside bare libcurl, as rates", "bareNotifications",
                      "notifications", Goal::kRateAtLeast, 0.8},
                     {"1,000 notifications to a gateway that takes 50 ms, beside 50 ms",
                      "fiftyMilliseconds", "toASlowGateway", Goal::kTimeAtMost, 12},
                     {"A mail handed over beside bare posix_spawn", "barePosixSpawn", "sendMail",
                      Goal::kTimeAtMost, 1.3},
                     {"The same with 1 GiB of memory in use", "barePosixSpawn",
                      "sendMailFromAGigabyte", Goal::kTimeAtMost, 1.3}},
                    {});
  delivery.reset();
  return status;
}

}  // namespace

}  // namespace velto::bench

int main(int argc, char** argv) {
  return velto::bench::run(argc, argv);
}
