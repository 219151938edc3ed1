#include "platform/foundation/SerialQueue.h"

#include <array>
#include <atomic>
#include <future>
#include <memory>
#include <numeric>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

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

}  // namespace
}  // namespace velto
