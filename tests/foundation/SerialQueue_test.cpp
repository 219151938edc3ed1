// SPDX-License-Identifier: Apache-2.0
#include "platform/foundation/SerialQueue.h"

#include <array>
#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <numeric>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/NoMoreThreads.h"

namespace velto {
namespace {

TEST(SerialQueue, DoesAllJobsInTheirOrderOnAThreadOfItsOwn) {
  std::vector<int> done;
  std::thread::id thread;
  {
    SerialQueue queue;
    for (int job = 0; job < 1000; ++job) {
      queue.perform([&, job] {
        done.push_back(job);
        thread = std::this_thread::get_id();
      });
    }
  }
  std::vector<int> expected(1000);
  std::iota(expected.begin(), expected.end(), 0);
  EXPECT_EQ(done, expected);
  EXPECT_NE(thread, std::this_thread::get_id());
}

TEST(SerialQueue, TakesJobsFromAnyThreadAndFromItsOwn) {
  std::atomic<int> done = 0;
  {
    SerialQueue queue;
    std::array<std::thread, 4> threads;
    for (std::thread& thread : threads) {
      thread = std::thread([&] {
        for (int job = 0; job < 100; ++job) {
          queue.perform([&] {
            ++done;
            queue.perform([&] { ++done; });
          });
        }
      });
    }
    for (std::thread& thread : threads) {
      thread.join();
    }
  }
  EXPECT_EQ(done, 800);
}

TEST(SerialQueue, MayBeDestroyedByAJob) {
  auto queue = std::make_unique<SerialQueue>();
  std::promise<void> isFull;
  const auto isDone = std::make_shared<std::promise<void>>();
  queue->perform([&] {
    isFull.get_future().wait();
    queue.reset();
  });
  queue->perform([isDone] { isDone->set_value(); });
  isFull.set_value();
  isDone->get_future().wait();
  EXPECT_EQ(queue, nullptr);
}

TEST(SerialQueue, KeepsNothingOfAJobThatIsDone) {
  SerialQueue queue;
  const auto held = std::make_shared<int>();
  std::promise<bool> isGone;
  queue.perform([held] {});
  queue.perform([&] { isGone.set_value(held.use_count() == 1); });
  EXPECT_TRUE(isGone.get_future().get());
}

TEST(SerialQueue, JobsMayAddJobsWhileItGoes) {
  std::vector<int> done;
  std::promise<void> isGoing;
  {
    SerialQueue queue;
    queue.perform([&] {
      isGoing.get_future().wait();
      queue.perform([&] {
        queue.perform([&] { done.push_back(2); });
        done.push_back(1);
      });
    });
    isGoing.set_value();
  }
  EXPECT_EQ(done, (std::vector<int>{1, 2}));
}

TEST(SerialQueue, AJobThatNoThreadCanDoIsDropped) {
  std::vector<int> done;
  {
    SerialQueue queue;
    {
      const NoMoreThreads limit;
      EXPECT_FALSE(queue.start());
      EXPECT_FALSE(queue.perform([&] { done.push_back(1); }));
    }
    EXPECT_TRUE(queue.perform([&] { done.push_back(2); }));
  }
  EXPECT_EQ(done, std::vector<int>{2});
}

TEST(SerialQueue, OnceStartedItTakesEveryJob) {
  bool isDone = false;
  {
    SerialQueue queue;
    EXPECT_TRUE(queue.start());
    const NoMoreThreads limit;
    EXPECT_TRUE(queue.start());
    EXPECT_TRUE(queue.perform([&] { isDone = true; }));
  }
  EXPECT_TRUE(isDone);
}

TEST(SerialQueue, DoesAJobAfterItsTimeAndOthersMeanwhile) {
  constexpr std::chrono::milliseconds kTime{5};
  std::promise<std::chrono::steady_clock::time_point> done;
  SerialQueue queue;
  const auto begun = std::chrono::steady_clock::now();
  EXPECT_TRUE(queue.performAfter(kTime, [&] { done.set_value(std::chrono::steady_clock::now()); }));
  std::promise<void> isOtherDone;
  queue.perform([&] { isOtherDone.set_value(); });
  isOtherDone.get_future().wait();
  EXPECT_GE(done.get_future().get() - begun, kTime);
}

TEST(SerialQueue, OfTwoJobsThatAreToComeTheSecondOneComes) {
  std::promise<int> done;
  SerialQueue queue;
  queue.performAfter(std::chrono::hours(1), [&] { done.set_value(1); });
  queue.performAfter(std::chrono::milliseconds(0), [&] { done.set_value(2); });
  EXPECT_EQ(done.get_future().get(), 2);
}

TEST(SerialQueue, DropsAJobThatIsToComeWhenItGoes) {
  const auto held = std::make_shared<int>();
  {
    SerialQueue queue;
    queue.performAfter(std::chrono::hours(1), [held] { FAIL(); });
    EXPECT_EQ(held.use_count(), 2);
  }
  EXPECT_EQ(held.use_count(), 1);
}

TEST(SerialQueue, WithoutAJobItJustGoes) {
  const SerialQueue unused;
  SerialQueue started;
  EXPECT_TRUE(started.start());
}

}  // namespace
}  // namespace velto
