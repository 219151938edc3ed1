// SPDX-License-Identifier: Apache-2.0
#include "bench/Comparisons.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <map>

#include <benchmark/benchmark.h>
#include <fmt/format.h>

namespace velto::bench {

namespace {

/// Shows what Google Benchmark shows, and keeps the time an item took, by benchmark.
class Collector : public benchmark::ConsoleReporter {
 public:
  Collector() : ConsoleReporter(OO_Tabular) {}

  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
      hasFailed_ = hasFailed_ || run.error_occurred;
      const auto rate = run.counters.find("items_per_second");
      if (run.run_type == Run::RT_Iteration && rate != run.counters.end()) {
        seconds_[run.run_name.function_name].push_back(1 / rate->second.value);
      }
    }
  }

  bool hasFailed() const { return hasFailed_; }

  /// The median; 0 for a benchmark that has not run.
  double secondsPerItem(const std::string& name) const {
    const auto found = seconds_.find(name);
    if (found == seconds_.end()) {
      return 0;
    }
    std::vector<double> sorted = found->second;
    std::sort(sorted.begin(), sorted.end());
    return sorted[sorted.size() / 2];
  }

 private:
  bool hasFailed_ = false;
  std::map<std::string, std::vector<double>> seconds_;
};

std::string verdict(const Comparison& comparison, double ratio) {
  const bool atLeast = comparison.goal == Comparison::Goal::kRateAtLeast;
  if (comparison.target == 0) {
    return "";
  }
  const bool met = atLeast ? ratio >= comparison.target : ratio <= comparison.target;
  return fmt::format("{} {:g}: {}", atLeast ? "at least" : "at most", comparison.target,
                     met ? "met" : "MISSED");
}

std::string row(const Comparison& comparison, double baseline, double measured) {
  const double ratio =
      comparison.goal == Comparison::Goal::kRateAtLeast ? baseline / measured : measured / baseline;
  return fmt::format("| {} | {:.2f} µs | {:.2f} µs | {:.2f} | {} |\n", comparison.title,
                     baseline * 1e6, measured * 1e6, ratio, verdict(comparison, ratio));
}

}  // namespace

bool takeArguments(int& argc, char** argv) {
  char** const end = argv + argc;
  char** const quick = std::find_if(
      argv, end, [](const char* argument) { return std::strcmp(argument, "--quick") == 0; });
  const bool isQuick = quick != end;
  if (isQuick) {
    std::rotate(quick, quick + 1, end);
    --argc;
  }
  std::vector<const char*> defaults = {argv[0]};
  if (isQuick) {
    defaults.push_back("--benchmark_min_time=0.001");
  } else {
    defaults.insert(defaults.end(), {"--benchmark_min_time=0.2", "--benchmark_repetitions=9",
                                     "--benchmark_enable_random_interleaving=true",
                                     "--benchmark_report_aggregates_only=false"});
  }
  // The program's own come second, so that they win.
  int count = static_cast<int>(defaults.size());
  benchmark::Initialize(&count, const_cast<char**>(defaults.data()));
  benchmark::Initialize(&argc, argv);
  return isQuick;
}

int runAndCompare(const std::vector<Comparison>& comparisons,
                  const std::vector<Reading>& readings) {
  Collector collector;
  benchmark::RunSpecifiedBenchmarks(&collector);
  std::string table =
      "\n| Measurement | Baseline | Ours | Ratio | Target |\n|---|---|---|---|---|\n";
  for (const Comparison& comparison : comparisons) {
    const double baseline = collector.secondsPerItem(comparison.baseline);
    const double measured = collector.secondsPerItem(comparison.measured);
    if (baseline > 0 && measured > 0) {
      table += row(comparison, baseline, measured);
    }
  }
  table += "\n";
  for (const Reading& reading : readings) {
    table += fmt::format("- {}: {}\n", reading.title, reading.value);
  }
  std::fputs(table.c_str(), stdout);
  return collector.hasFailed() ? 1 : 0;
}

}  // namespace velto::bench
