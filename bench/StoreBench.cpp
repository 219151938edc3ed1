// SPDX-License-Identifier: Apache-2.0
// The store beside bare SQLite, in the same run and on the same disk.

#include <atomic>
#include <fcntl.h>
#include <malloc.h>
#include <memory>
#include <unistd.h>
#include <vector>

#include <benchmark/benchmark.h>
#include <fmt/format.h>

#include "bench/BareStore.h"
#include "bench/Comparisons.h"
#include "bench/SampleStore.h"
#include "platform/foundation/FileDescriptor.h"
#include "platform/foundation/Paths.h"
#include "platform/propertylist/PropertyListSerialization.h"

namespace velto::bench {

namespace {

constexpr std::size_t kInPeriod = 100;

/// The stores that the benchmarks work on, and how large they are.
class Stores {
 public:
  explicit Stores(bool isQuick)
      : alerts(isQuick ? 2000 : 1000000),
        listed(isQuick ? 100 : 10000),
        parts(directory),
        large(resourceDirectory(), directory.make("large"), parts.services()),
        empty(resourceDirectory(), directory.make("empty"), parts.services()) {
    fill(large, alerts, listed);
    empty.persistentStoreCoordinator();
    {
      // The same tables and indexes, in a file that no coordinator has open.
      StoreContainer made(resourceDirectory(), directory.make("bare"), parts.services());
      made.persistentStoreCoordinator();
    }
    bareLarge = std::make_unique<BareStore>(directory.path() + "/large/alertData.db");
    bareEmpty = std::make_unique<BareStore>(directory.path() + "/bare/alertData.db");
    for (std::size_t number = 0; number < 4096; ++number) {
      // In an order that no cache likes.
      identifiers.push_back(*sampleAlert(number * 982451653 % alerts).identifier);
    }
  }

  const BenchDirectory directory;
  const std::size_t alerts;
  const std::size_t listed;
  StoreParts parts;
  StoreContainer large;
  StoreContainer empty;
  std::unique_ptr<BareStore> bareLarge;
  std::unique_ptr<BareStore> bareEmpty;
  std::vector<std::string> identifiers;  ///< of alerts of the large store
};

std::unique_ptr<Stores> stores;

void countItems(benchmark::State& state, std::size_t each = 1) {
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(each));
}

void syncFourKilobytes(benchmark::State& state) {
  const FileDescriptor file(
      ::open((stores->directory.path() + "/sync").c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600));
  const std::string block(4096, 'x');
  for (auto _ : state) {
    if (::write(file.get(), block.data(), block.size()) < 0 || ::fdatasync(file.get()) != 0) {
      state.SkipWithError("the disk cannot be written to");
    }
  }
  countItems(state);
}

void insertBare(benchmark::State& state) {
  static std::size_t number = 0;
  const std::string attributes(
      PropertyListSerialization::binaryData(*sampleAlert(0).attributes, nullptr)->view());
  for (auto _ : state) {
    stores->bareEmpty->insert(newAlert(number++), attributes);
  }
  countItems(state);
}

void insertThroughHandle(benchmark::State& state) {
  static std::atomic<std::size_t> number = 0;
  for (auto _ : state) {
    ADAlertStore store(stores->empty);
    store.insertAlert(newAlert(number++));
    if (!store.save(nullptr)) {
      state.SkipWithError("a save failed");
    }
  }
  countItems(state);
}

void insertFromSixteenThreads(benchmark::State& state) {
  insertThroughHandle(state);
}

void fetchByKeyBare(benchmark::State& state) {
  std::size_t number = 0;
  for (auto _ : state) {
    const std::string& identifier = stores->identifiers[number++ % stores->identifiers.size()];
    if (stores->bareLarge->readByIdentifier(identifier) == 0) {
      state.SkipWithError("an alert is missing");
    }
  }
  countItems(state);
}

void fetchByKey(benchmark::State& state) {
  std::size_t number = 0;
  for (auto _ : state) {
    const std::string& identifier = stores->identifiers[number++ % stores->identifiers.size()];
    ADAlertStore store(stores->large);
    if (!store.getAlertWithIdentifier(identifier, nullptr)) {
      state.SkipWithError("an alert is missing");
    }
  }
  countItems(state);
}

void listBare(benchmark::State& state) {
  for (auto _ : state) {
    if (stores->bareLarge->readOfType(kListedType) != stores->listed) {
      state.SkipWithError("alerts are missing");
    }
  }
  countItems(state, stores->listed);
}

void list(benchmark::State& state) {
  for (auto _ : state) {
    ADAlertStore store(stores->large);
    if (store.getAlertsOfType(kListedType, nullptr).size() != stores->listed) {
      state.SkipWithError("alerts are missing");
    }
  }
  countItems(state, stores->listed);
}

void listPeriod(benchmark::State& state) {
  const std::size_t first = stores->alerts / 2;
  const Date from(sampleSentDate(first) - 1);
  const Date to(sampleSentDate(first + kInPeriod) - 1);
  for (auto _ : state) {
    ADAlertStore store(stores->large);
    if (store.getAlertsFromDate(from, to, nullptr).size() != kInPeriod) {
      state.SkipWithError("the period has another number of alerts");
    }
  }
  countItems(state);
}

/// What is allocated for `count` things, for each of them.
template <typename Make>
std::string bytesEach(std::size_t count, Make make) {
  const std::size_t before = mallinfo2().uordblks;
  const auto made = make();
  const std::size_t after = mallinfo2().uordblks;
  benchmark::DoNotOptimize(made);
  return after <= before ? "unknown with this allocator"
                         : fmt::format("{} bytes", (after - before) / count);
}

std::vector<Reading> memoryReadings() {
  constexpr std::size_t kHandles = 1000;
  const auto usedHandles = [] {
    std::vector<std::unique_ptr<ADAlertStore>> handles;
    for (std::size_t number = 0; number < kHandles; ++number) {
      handles.push_back(std::make_unique<ADAlertStore>(stores->large));
      handles.back()->getAlertWithIdentifier(stores->identifiers[number], nullptr);
    }
    return handles;
  };
  const auto alerts = [] {
    return ADAlertStore(stores->large).getAlertsOfType(kListedType, nullptr);
  };
  const auto handle = [] {
    auto store = std::make_unique<ADAlertStore>(stores->large);
    store->getAlertsOfType(kListedType, nullptr);
    return store;
  };
  return {{"Memory of a handle that has read one alert", bytesEach(kHandles, usedHandles)},
          {"Memory of an alert in the list that a caller gets", bytesEach(stores->listed, alerts)},
          {"Memory of an alert's record, as long as the handle lives",
           bytesEach(stores->listed, handle)}};
}

BENCHMARK(syncFourKilobytes)->UseRealTime();
BENCHMARK(insertBare)->UseRealTime();
BENCHMARK(insertThroughHandle)->UseRealTime();
BENCHMARK(insertFromSixteenThreads)->Threads(16)->UseRealTime();
BENCHMARK(fetchByKeyBare);
BENCHMARK(fetchByKey);
BENCHMARK(listBare);
BENCHMARK(list);
BENCHMARK(listPeriod);

const std::vector<Comparison>& comparisons() {
  using Goal = Comparison::Goal;
  static const std::vector<Comparison> all = {
      {"Durable insert, as rates", "insertBare", "insertThroughHandle", Goal::kRateAtLeast, 0.8},
      {"Durable insert from 16 threads at once, as rates", "insertBare", "insertFromSixteenThreads",
       Goal::kRateAtLeast, 3},
      {"A bare insert beside one sync of the disk", "syncFourKilobytes", "insertBare",
       Goal::kTimeAtMost, 0},
      {"Fetch by key with a new handle", "fetchByKeyBare", "fetchByKey", Goal::kTimeAtMost, 3},
      {"An alert of a long list", "listBare", "list", Goal::kTimeAtMost, 3},
      {"The 100 alerts of a period beside a fetch by key", "fetchByKey", "listPeriod",
       Goal::kTimeAtMost, 50},
  };
  return all;
}

int run(int argc, char** argv) {
  const bool isQuick = takeArguments(argc, argv);
  stores = std::make_unique<Stores>(isQuick);
  fmt::print("{} alerts in {}{}\n", stores->alerts, stores->directory.path(),
             isQuick ? "; the numbers of a quick run mean nothing" : "");
  const int status = runAndCompare(comparisons(), memoryReadings());
  stores.reset();
  return status;
}

}  // namespace

}  // namespace velto::bench

int main(int argc, char** argv) {
  return velto::bench::run(argc, argv);
}
