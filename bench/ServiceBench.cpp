// SPDX-License-Identifier: Apache-2.0
// The daemon as its clients know it: over the socket, beside a bare echo and bare SQLite.

#include <chrono>
#include <csignal>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <unistd.h>
#include <vector>

#include <benchmark/benchmark.h>
#include <fmt/format.h>

#include "bench/BareStore.h"
#include "bench/Comparisons.h"
#include "bench/PreparedSaves.h"
#include "bench/SampleStore.h"
#include "bench/SeparateCores.h"
#include "bench/ServiceProcesses.h"
#include "platform/foundation/Paths.h"
#include "platform/propertylist/PropertyListSerialization.h"

namespace velto::bench {

namespace {

constexpr std::size_t kInFlight = 64;
/// Nearly as long as the log gets before it is checkpointed, in bytes.
constexpr std::uintmax_t kLongLog = 11'000'000;

PreparedSaves saves;

/// Where a copy of the system's store has been made.
std::string copyOfStore(const BenchDirectory& directory, const std::string& root) {
  const std::string copy = directory.path() + "/bare.db";
  std::filesystem::copy(root + std::string(kStoreDirectory) + "/alertData.db", copy);
  return copy;
}

/// A whole system with its daemon, and what it is compared with.
class Service {
 public:
  explicit Service(bool isQuick)
      : alerts(isQuick ? 2000 : 100000),
        listed(isQuick ? 100 : 10000),
        connections(isQuick ? 50 : 10000),
        root(preparedSystem(directory, alerts, listed)),
        daemon(std::make_unique<DaemonProcess>(root)),
        client(daemon->connect()),
        names(ask(client, namesCall)),
        echo(names),
        bareStore(copyOfStore(directory, root)),
        bareListed(root + std::string(kStoreDirectory) + "/alertData.db") {}

  const BenchDirectory directory;
  const std::size_t alerts;
  const std::size_t listed;
  const std::size_t connections;
  const std::string root;
  const std::string namesCall = callOf("GetAlertBundleNames", "{}");
  std::unique_ptr<DaemonProcess> daemon;
  MessageSocket client;
  const std::string names;  ///< the reply that lists the bundles
  EchoProcess echo;
  BareStore bareStore;   ///< a copy of the daemon's
  BareStore bareListed;  ///< the daemon's
};

std::unique_ptr<Service> service;

// --- A call without work to speak of ---

void roundTrips(benchmark::State& state, MessageSocket& socket) {
  for (auto _ : state) {
    socket.send(service->namesCall);
    while (socket.receive() == 0) {
    }
  }
  state.SetItemsProcessed(state.iterations());
}

/// Sends a new call for each reply, so that there is always the same number under way.
void pipelined(benchmark::State& state, MessageSocket& socket) {
  std::string calls;
  for (std::size_t count = 0; count < kInFlight; ++count) {
    calls += service->namesCall;
  }
  std::size_t replies = 0;
  for (auto _ : state) {
    socket.send(calls);
    for (std::size_t sent = kInFlight, done = 0; done < 16 * kInFlight;) {
      const std::size_t count = socket.receive();
      done += count;
      const std::size_t more = std::min(count, 16 * kInFlight - sent);
      socket.send(std::string_view(calls).substr(0, more * service->namesCall.size()));
      sent += more;
    }
    replies += 16 * kInFlight;
  }
  state.SetItemsProcessed(static_cast<std::int64_t>(replies));
}

void echoRoundTrip(benchmark::State& state) {
  const SeparateCores cores(service->echo.process());
  roundTrips(state, service->echo.socket());
}

void roundTrip(benchmark::State& state) {
  const SeparateCores cores(service->daemon->process());
  roundTrips(state, service->client);
}

void echoPipelined(benchmark::State& state) {
  const SeparateCores cores(service->echo.process());
  pipelined(state, service->echo.socket());
}

void callsPipelined(benchmark::State& state) {
  const SeparateCores cores(service->daemon->process());
  pipelined(state, service->client);
}

// --- Saving ---

void insertBare(benchmark::State& state) {
  static std::size_t number = kFirstNew;
  const std::string attributes(
      PropertyListSerialization::binaryData(*sampleAlert(0).attributes, nullptr)->view());
  for (auto _ : state) {
    service->bareStore.insert(newAlert(number++), attributes);
  }
  state.SetItemsProcessed(state.iterations());
}

void saveAlerts(benchmark::State& state) {
  MessageSocket client = service->daemon->connect();
  for (auto _ : state) {
    if (!saves.saveNext(client)) {
      state.SkipWithError("an alert was not saved");
    }
  }
  state.SetItemsProcessed(state.iterations());
}

// --- Lists ---

void listBare(benchmark::State& state) {
  for (auto _ : state) {
    if (service->bareListed.readOfType(kListedType) != service->listed) {
      state.SkipWithError("alerts are missing");
    }
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(service->listed));
}

/// A piece that others follow ends with the word that it continues.
void receiveList(benchmark::State& state, std::string_view flags) {
  constexpr std::string_view kContinues("\"continues\":true}\0", 18);
  const std::string list =
      callOf("GetAlertsOfType", fmt::format(R"({{"type":"{}"}})", kListedType), flags);
  for (auto _ : state) {
    service->client.send(list);
    std::string end;
    do {
      service->client.receive();
      const std::string_view received = service->client.received();
      end.append(received.substr(received.size() - std::min(received.size(), kContinues.size())));
      end.erase(0, end.size() - std::min(end.size(), kContinues.size()));
    } while (end.back() != '\0' || end == kContinues);
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(service->listed));
}

void listInPieces(benchmark::State& state) {
  receiveList(state, R"(,"more":true)");
}

void listAtOnce(benchmark::State& state) {
  receiveList(state, {});
}

// --- The process ---

/// What a connection costs the daemon that has been served and is idle.
std::string bytesOfAConnection(const DaemonProcess& daemon) {
  std::vector<MessageSocket> idle;
  const auto connect = [&](std::size_t count) {
    for (std::size_t made = 0; made < count; ++made) {
      idle.push_back(daemon.connect());
      ask(idle.back(), service->namesCall);
    }
  };
  connect(service->connections / 10);  // what the first ones need is there for all
  const std::size_t before = daemon.residentBytes();
  connect(service->connections);
  constexpr std::size_t kTarget = 1024;
  const std::size_t each = (daemon.residentBytes() - before) / service->connections;
  return fmt::format("{} bytes (at most {}: {})", each, kTarget,
                     each <= kTarget ? "met" : "MISSED");
}

std::string milliseconds(std::chrono::duration<double> time) {
  return fmt::format("{:.1f} ms", time.count() * 1000);
}

/// Saves until the log is long, and starts the daemon anew. It is not stopped in any other way than
/// by a signal, which leaves the log as it is.
std::string startWithLongLog() {
  const std::string log = service->root + std::string(kStoreDirectory) + "/alertData.db-wal";
  while (std::filesystem::file_size(log) < kLongLog) {
    saves.saveNext(service->client);
  }
  service->daemon.reset();
  service->daemon = std::make_unique<DaemonProcess>(service->root);
  service->client = service->daemon->connect();
  return milliseconds(service->daemon->startTime());
}

std::vector<Reading> readings() {
  const DaemonProcess& daemon = *service->daemon;
  std::vector<Reading> all = {
      {"Start to ready", milliseconds(daemon.startTime())},
      {"Resident memory after the first call",
       fmt::format("{:.1f} MiB, {:.1f} MiB of which are shared libraries and files",
                   static_cast<double>(daemon.residentBytes()) / (1 << 20),
                   static_cast<double>(daemon.sharedBytes()) / (1 << 20))}};
  all.push_back({"Resident memory of an idle connection", bytesOfAConnection(daemon)});
  all.push_back({"Start to ready with a long log", startWithLongLog()});
  return all;
}

BENCHMARK(echoRoundTrip)->UseRealTime();
BENCHMARK(roundTrip)->UseRealTime();
BENCHMARK(echoPipelined)->UseRealTime();
BENCHMARK(callsPipelined)->UseRealTime();
BENCHMARK(insertBare)->UseRealTime();
BENCHMARK(saveAlerts)->UseRealTime();
BENCHMARK(listBare)->UseRealTime();
BENCHMARK(listInPieces)->UseRealTime();
BENCHMARK(listAtOnce)->UseRealTime();

int run(int argc, char** argv) {
  std::signal(SIGPIPE, SIG_IGN);
  raiseDescriptorLimit();
  const bool isQuick = takeArguments(argc, argv);
  if (::geteuid() != 0) {
    fmt::print("root alone may save alerts\n");
    return 0;
  }
  service = std::make_unique<Service>(isQuick);
  saves.prepare(isQuick ? 1000 : 40000);
  using Goal = Comparison::Goal;
  const int status =
      runAndCompare({{"A call and its reply beside a bare echo", "echoRoundTrip", "roundTrip",
                      Goal::kTimeAtMost, 1.2},
                     {"The same with 64 in flight, as rates", "echoPipelined", "callsPipelined",
                      Goal::kRateAtLeast, 0.5},
                     {"SaveAlerts of one alert beside a bare insert, as rates", "insertBare",
                      "saveAlerts", Goal::kRateAtLeast, 0.85},
                     {"An alert of a list of 10,000 in pieces", "listBare", "listInPieces",
                      Goal::kTimeAtMost, 1.5},
                     {"The same at once", "listBare", "listAtOnce", Goal::kTimeAtMost, 1.5}},
                    readings());
  service.reset();
  return status;
}

}  // namespace

}  // namespace velto::bench

int main(int argc, char** argv) {
  return velto::bench::run(argc, argv);
}
