// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <cstdint>

namespace velto {

/// How much there is to do for a service's clients. Any thread; outlives what it counts.
struct ServiceCounts {
  std::atomic<std::int64_t> connections = 0;
  std::atomic<std::int64_t> calls = 0;   ///< under way: to the end of the reply
  std::atomic<std::int64_t> served = 0;  ///< calls since the start, with those under way
};

/// Something that counts for as long as it is there.
class Counted {
 public:
  explicit Counted(std::atomic<std::int64_t>& count) : count_(count) { ++count_; }
  ~Counted() { --count_; }
  Counted(const Counted&) = delete;
  Counted& operator=(const Counted&) = delete;

 private:
  std::atomic<std::int64_t>& count_;
};

}  // namespace velto
