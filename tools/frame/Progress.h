// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace velto {

/// A bar on standard error that tells how far a long piece of work is, when that is a terminal. The
/// destructor takes it away. One thread.
class Progress {
 public:
  /// `total` of what is counted; 0 when nobody knows.
  explicit Progress(std::int64_t total);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  void reach(std::int64_t count);

 private:
  const std::int64_t total_;
  const bool isShown_;
  std::chrono::steady_clock::time_point drawn_{};
};

}  // namespace velto
