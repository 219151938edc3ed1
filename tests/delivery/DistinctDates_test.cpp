// SPDX-License-Identifier: Apache-2.0
#include "delivery/DistinctDates.h"

#include <set>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace velto {
namespace {

TEST(DistinctDates, AMillisecondThatNobodyHadIsLeftAsItIs) {
  DistinctDates dates;
  for (const double now : {0.0, 0.0015, 86400.123456789, 8e8}) {
    EXPECT_EQ(dates.next(Date(now)), Date(now));
  }
}

TEST(DistinctDates, ABurstHasAMillisecondForEach) {
  for (const double now : {0.0, 86400.0, 8.123456789e8}) {
    DistinctDates dates;
    const std::int64_t first = wholeMilliseconds(Date(now));
    for (std::int64_t index = 0; index < 1000; ++index) {
      EXPECT_EQ(wholeMilliseconds(dates.next(Date(now))), first + index);
    }
  }
}

TEST(DistinctDates, ThreadsShareNone) {
  DistinctDates dates;
  std::vector<std::vector<std::int64_t>> had(4);
  std::vector<std::thread> threads;
  for (auto& own : had) {
    threads.emplace_back([&] {
      for (int index = 0; index < 100; ++index) {
        own.push_back(wholeMilliseconds(dates.next(Date(7e8))));
      }
    });
  }
  std::set<std::int64_t> all;
  for (std::size_t index = 0; index < threads.size(); ++index) {
    threads[index].join();
    all.insert(had[index].begin(), had[index].end());
  }
  EXPECT_EQ(all.size(), 400u);
}

TEST(DistinctDates, AClockThatWasSetBackCounts) {
  DistinctDates dates;
  dates.next(Date(1000));
  EXPECT_EQ(dates.next(Date(500)), Date(500));
  EXPECT_EQ(wholeMilliseconds(dates.next(Date(500))), 500001);
}

}  // namespace
}  // namespace velto
