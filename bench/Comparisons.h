// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace velto::bench {

/// Two benchmarks of one run, and how the one is to stand against the other. A target of 0 is none:
/// the ratio is reported only.
struct Comparison {
  enum class Goal {
    kRateAtLeast,  ///< the measured rate in terms of the baseline's
    kTimeAtMost,   ///< the measured time in terms of the baseline's
  };

  std::string title;
  std::string baseline;  ///< names of benchmarks
  std::string measured;
  Goal goal;
  double target;
};

/// A value without a baseline.
struct Reading {
  std::string title;
  std::string value;
};

/// Takes the program's arguments: those of Google Benchmark, and `--quick`, which goes once
/// through, to see that everything works. True for the latter.
bool takeArguments(int& argc, char** argv);

/// Runs the benchmarks that are registered, alternating between them, and prints a table of the
/// comparisons, each from the median of the repetitions, and of the readings. Returns the program's
/// exit status: not 0 when a benchmark failed. A missed target is not a failure.
int runAndCompare(const std::vector<Comparison>& comparisons, const std::vector<Reading>& readings);

}  // namespace velto::bench
