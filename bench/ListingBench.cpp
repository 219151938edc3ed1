// SPDX-License-Identifier: Apache-2.0
// Pages of the watching interface's lists, and its counts, on a store of 1,000,000 alerts: what the
// store needs for them, without the wire.

#include <algorithm>
#include <cstring>
#include <ctime>
#include <string>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "bench/MillionStore.h"
#include "store/AlertHistory.h"
#include "store/AlertPages.h"

namespace velto::bench {
namespace {

constexpr std::size_t kPage = 100;
constexpr int kRepetitions = 9;

/// What all threads of the process have used of the processors, in milliseconds.
double processorTime() {
  timespec used{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &used);
  return static_cast<double>(used.tv_sec) * 1e3 + static_cast<double>(used.tv_nsec) / 1e6;
}

double medianOf(std::vector<double> values) {
  std::nth_element(values.begin(), values.begin() + kRepetitions / 2, values.end());
  return values[kRepetitions / 2];
}

/// Medians: how long it takes, and what it needs of the processors, which tells more on a machine
/// that others use.
struct Times {
  double elapsed;
  double processor;
};

Times timesOf(const std::function<void()>& work) {
  std::vector<double> elapsed;
  std::vector<double> processor;
  for (int repetition = 0; repetition < kRepetitions; ++repetition) {
    const double before = processorTime();
    elapsed.push_back(milliseconds(work));
    processor.push_back(processorTime() - before);
  }
  return {medianOf(std::move(elapsed)), medianOf(std::move(processor))};
}

using Coordinator = std::shared_ptr<PersistentStoreCoordinator>;

std::size_t readPage(const Coordinator& coordinator, const AlertFilter& filter,
                     const std::optional<RowPlace>& after) {
  std::optional<Error> error;
  const auto page = listAlerts(coordinator, filter, after, kPage, &error);
  if (!page) {
    fmt::print(stderr, "{}\n", error->localizedDescription());
    return 0;
  }
  return page->alerts.size();
}

struct NamedFilter {
  const char* name;
  AlertFilter filter;
};

/// Each filter alone, and some together.
std::vector<NamedFilter> filters(std::size_t alerts) {
  const Date half(sampleSentDate(alerts / 2));
  return {{"none", {}},
          {"bundle", {.bundle = "Bundle3"}},
          {"type", {.type = "Type7"}},
          {"from", {.from = Date(0)}},
          {"to", {.to = Date(sampleSentDate(alerts))}},
          {"unread", {.unread = true}},
          {"read", {.unread = false}},
          {"unresolved", {.unresolved = true}},
          {"resolved", {.unresolved = false}},
          {"unread and unresolved", {.unread = true, .unresolved = true}},
          {"bundle, type, unread, unresolved, to the middle",
           {.bundle = "Bundle7", .type = "Type7", .to = half, .unread = true, .unresolved = true}},
          {"two that never meet", {.bundle = "Bundle3", .type = "Type4"}},
          {"text in all", {.text = "BY-UUID"}},
          {"text in one", {.text = "By-Uuid/123456"}},
          {"text in none", {.text = "nowhere to be found"}},
          {"text in none, not ASCII", {.text = "nirgends größer"}}};
}

void measureLists(const MillionStore& store) {
  const auto container = store.open();
  const Coordinator coordinator = container->persistentStoreCoordinator();
  const auto placeOf = [](std::size_t number) {
    return RowPlace{Date(sampleSentDate(number)), static_cast<std::int64_t>(number + 1)};
  };
  fmt::print("a page of 100, ms (processors)\tfirst\tmiddle\tlast\talerts\n");
  for (const auto& [name, filter] : filters(store.alerts())) {
    fmt::print("{}", name);
    std::string counts;
    for (const auto& after : {std::optional<RowPlace>(), std::optional(placeOf(store.alerts() / 2)),
                              std::optional(placeOf(150))}) {
      std::size_t count = 0;
      const Times times = timesOf([&] { count = readPage(coordinator, filter, after); });
      fmt::print("\t{:.2f} ({:.2f})", times.elapsed, times.processor);
      counts += fmt::format("{}{}", counts.empty() ? "" : ", ", count);
    }
    fmt::print("\t{}\n", counts);
    std::fflush(stdout);
  }
}

void measureHistory(const MillionStore& store, const char* what, double days, std::size_t count) {
  const auto container = store.open();
  const Coordinator coordinator = container->persistentStoreCoordinator();
  const double to = sampleSentDate(store.alerts());
  const double length = days * 86400;
  std::int64_t alerts = 0;
  std::size_t entries = 0;
  const Times times = timesOf([&] {
    alerts = 0;
    const auto steps =
        HistorySteps::make(Date(to - length), Date(to), length / static_cast<double>(count));
    const auto history = alertHistory(*coordinator, *steps, nullptr);
    for (const AlertHistoryEntry& entry : *history) {
      alerts += entry.count;
    }
    entries = history->size();
  });
  fmt::print("{}\t{}\t{}\t{}\t{:.2f} ({:.2f})\n", what, count, entries, alerts, times.elapsed,
             times.processor);
}

void measureOpening(const MillionStore& store) {
  const std::string directory = store.copy("older");
  for (const char* index : {"(readDate,sentDate)", "(sentDate)+readDate", "(sentDate)+resolvedDate",
                            "(sentDate)-resolvedDate"}) {
    BareMillion(directory).execute(fmt::format("DROP INDEX \"ADAlert{}\"", index));
  }
  const double time = milliseconds([&] { store.openIn(directory)->persistentStoreCoordinator(); });
  fmt::print("opening a store that lacks the indexes of the lists\t{:.0f} ms\n", time);
}

}  // namespace
}  // namespace velto::bench

int main(int argc, char** argv) {
  using namespace velto::bench;
  const bool isQuick = argc > 1 && std::strcmp(argv[1], "--quick") == 0;
  const BenchDirectory directory;
  const MillionStore store(directory, isQuick ? 10000 : 1000000);
  measureLists(store);
  fmt::print("history\tsteps\tentries\talerts\tms (processors)\n");
  measureHistory(store, "90 days", 90, 90);
  measureHistory(store, "90 days", 90, 1000);
  measureHistory(store, "all", 348, 348);
  measureOpening(store);
  return 0;
}
