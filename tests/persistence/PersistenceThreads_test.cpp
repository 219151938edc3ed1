// SPDX-License-Identifier: Apache-2.0
// Contexts of many threads on one coordinator.

#include <algorithm>
#include <atomic>
#include <thread>

#include <gtest/gtest.h>

#include "tests/persistence/TestStore.h"
#include "tests/support/NoMoreThreads.h"

namespace velto {
namespace {

constexpr int kThreads = 16;

void onThreads(const std::function<void(int)>& work) {
  std::vector<std::thread> threads;
  for (int number = 0; number < kThreads; ++number) {
    threads.emplace_back([&work, number] { work(number); });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
}

TEST(PersistenceThreads, EachSeesItsOwnSaves) {
  const TestStore store;
  constexpr int kRounds = 10;
  onThreads([&](int number) {
    const std::string name = std::to_string(number);
    for (int round = 0; round < kRounds; ++round) {
      const auto context = store.context();
      insertThing(*context, name, round);
      expectSaved(*context);
      const auto mine = names(*store.context(), thingRequest("name = %@", {name}));
      EXPECT_EQ(mine.size(), static_cast<std::size_t>(round) + 1);
    }
  });
  EXPECT_EQ(names(*store.context(), thingRequest()).size(), std::size_t{kThreads} * kRounds);
}

TEST(PersistenceThreads, SavesThatNobodyWaitsForAreAllTold) {
  TestStore store;
  constexpr int kSaves = 20;
  std::atomic<int> saved = 0;
  onThreads([&](int number) {
    for (int save = 0; save < kSaves; ++save) {
      auto context = std::shared_ptr(store.context());
      insertThing(*context, std::to_string(number), save);
      ManagedObjectContext& own = *context;
      own.save([&saved, context = std::move(context)](std::optional<Error> error) mutable {
        EXPECT_EQ(error, std::nullopt);
        EXPECT_FALSE(context->hasChanges());
        context.reset();
        ++saved;
        saved.notify_one();
      });
    }
  });
  // From now on the saves alone keep the store open, and the last to be told closes it.
  store.close();
  for (int count = saved; count != kThreads * kSaves; count = saved) {
    saved.wait(count);
  }
  store.open();
  EXPECT_EQ(names(*store.context(), thingRequest()).size(), std::size_t{kThreads} * kSaves);
}

TEST(PersistenceThreads, NoUpdateIsLost) {
  const TestStore store;
  {
    const auto context = store.context();
    insertThing(*context, "counter", 0);
    expectSaved(*context);
  }
  std::atomic<int> conflicts = 0;
  constexpr int kIncrements = 5;
  onThreads([&](int) {
    for (int done = 0; done < kIncrements;) {
      const auto context = store.context();
      Thing counter = fetchThings(*context, thingRequest()).at(0);
      counter.setDate(Date(counter.date()->secondsSinceReference() + 1));
      std::optional<Error> error;
      if (context->save(&error)) {
        ++done;
      } else {
        EXPECT_EQ(error->code, kConflictErrorCode);
        ++conflicts;
      }
    }
  });
  EXPECT_EQ(fetchThings(*store.context(), thingRequest()).at(0).date(),
            Date(kThreads * kIncrements))
      << conflicts << " conflicts";
}

TEST(PersistenceThreads, FetchSeesAllOfASaveOrNothing) {
  const TestStore store;
  std::atomic<int> writing = 8;
  onThreads([&](int number) {
    if (number % 2 == 0) {
      for (int round = 0; round < 10; ++round) {
        const auto context = store.context();
        insertThing(*context, "left");
        insertThing(*context, "right");
        expectSaved(*context);
      }
      --writing;
    }
    do {
      const auto found = names(*store.context(), thingRequest());
      EXPECT_EQ(std::count(found.begin(), found.end(), "left"),
                std::count(found.begin(), found.end(), "right"));
    } while (writing > 0);
  });
  EXPECT_EQ(names(*store.context(), thingRequest()).size(), 160U);
}

TEST(PersistenceThreads, AStoreIsNotOpenedWithoutThem) {
  const TemporaryDirectory directory;
  const std::string path = directory.path() / "store.db";
  PersistentStoreCoordinator coordinator(thingModel());
  std::optional<Error> error;
  {
    const NoMoreThreads limit;
    EXPECT_FALSE(coordinator.addPersistentStore(path, &error));
  }
  EXPECT_EQ(error, makeError(kPersistenceErrorDomain, kNoStoreErrorCode,
                             path + ": no thread to save with: Resource temporarily unavailable"));
  EXPECT_TRUE(coordinator.addPersistentStore(path, nullptr));
}

}  // namespace
}  // namespace velto
