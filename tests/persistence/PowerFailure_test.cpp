// SPDX-License-Identifier: Apache-2.0
// What the store holds after the power has failed, at each moment at which something has become
// certain.

#include "tests/persistence/PowerFailure.h"

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <mutex>
#include <random>
#include <set>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/persistence/sqlite/SQLiteConnection.h"
#include "platform/persistence/sqlite/WriteAheadLog.h"
#include "tests/persistence/OtherConnection.h"

namespace velto {
namespace {

using ::testing::AnyOf;
using ::testing::Contains;
using ::testing::IsSupersetOf;
using ::testing::StartsWith;
using ::testing::UnorderedElementsAreArray;

TEST_P(PowerFailure, KeepsWhatWasAcknowledgedAndNoHalfSave) {
  std::vector<std::vector<std::string>> states;  // after each save
  {
    const InterceptedFiles files(log_);
    TestStore store(files);
    makePagesSmall(store);
    record(store);
    states.push_back(contentOf(*store.context()));
    std::mt19937 random(1);
    for (int save = 0; save < 80; ++save) {
      if (save == 60) {
        EXPECT_GT(log_.writesTo(store.path()), 0) << "the log was long enough for a checkpoint";
        store.close();
        store.open();
      }
      states.push_back(saveAtRandom(store, random));
    }
    store.close();
  }
  std::size_t outcomes = 0;
  failAtEachSync([&](const std::string& path, std::size_t call) {
    const std::size_t saved = log_.acknowledgedBefore(call).size();
    const std::size_t begun = std::min(saved + 1, states.size() - 1);
    EXPECT_THAT(recovered(path), AnyOf(states[saved], states[begun]));
    ++outcomes;
  });
  EXPECT_GT(outcomes, 2 * states.size());
}

/// Each save of a thread inserts a pair.
void savePairs(const TestStore& store, const std::string& thread, CallLog& log) {
  for (int save = 0; save < 12; ++save) {
    const std::string name = thread + std::to_string(save);
    const auto context = store.context();
    insertThing(*context, name + " left").setData(Data(std::string(20000, 'x')));
    insertThing(*context, name + " right").setData(Data(std::string(20000, 'y')));
    expectSaved(*context);
    log.acknowledge(name);
  }
}

void expectWholePairs(const std::vector<std::string>& content,
                      const std::vector<std::string>& acknowledged) {
  for (const std::string& name : acknowledged) {
    EXPECT_THAT(content, Contains(StartsWith(name + " left ")));
  }
  for (const std::string& line : content) {
    const std::string name = line.substr(0, line.find(' '));
    EXPECT_THAT(content, Contains(StartsWith(name + " left ")));
    EXPECT_THAT(content, Contains(StartsWith(name + " right ")));
  }
}

/// What somebody has been shown counts as acknowledged.
void readPairs(const TestStore& store, const std::atomic<bool>& isOver, CallLog& log) {
  std::set<std::string> known;
  while (!isOver) {
    for (const std::string& line : contentOf(*store.context())) {
      const std::string name = line.substr(0, line.find(' '));
      if (known.insert(name).second) log.acknowledge(name);
    }
  }
}

TEST_P(PowerFailure, KeepsWhatWasAcknowledgedOrShownToSeveralAtOnce) {
  {
    const InterceptedFiles files(log_);
    TestStore store(files);
    record(store);
    std::atomic<bool> isOver = false;
    std::thread reader([&] { readPairs(store, isOver, log_); });
    std::vector<std::thread> threads;
    for (const char* thread : {"a", "b", "c", "d"}) {
      threads.emplace_back([&, thread] { savePairs(store, thread, log_); });
    }
    std::for_each(threads.begin(), threads.end(), [](std::thread& thread) { thread.join(); });
    isOver = true;
    reader.join();
  }
  failAtEachSync([&](const std::string& path, std::size_t call) {
    expectWholePairs(recovered(path), log_.acknowledgedBefore(call));
  });
}

/// While another program has the file open, its log is emptied and not deleted.
TEST_P(PowerFailure, KeepsWhatWasAcknowledgedWhenTheLogIsEmptied) {
  std::vector<std::vector<std::string>> states;  // after each save
  {
    const InterceptedFiles files(log_);
    TestStore store(files);
    const OtherConnection other(store.path());
    record(store);
    states.push_back(contentOf(*store.context()));
    std::mt19937 random(7);
    for (int save = 0; save < 9; ++save) {
      if (save % 3 == 2) {
        store.close();
        EXPECT_EQ(std::filesystem::file_size(store.path() + "-wal"), 0U);
        store.open();
      }
      states.push_back(saveAtRandom(store, random));
    }
    store.close();
  }
  failAtEachSync([&](const std::string& path, std::size_t call) {
    const std::size_t saved = log_.acknowledgedBefore(call).size();
    const std::size_t begun = std::min(saved + 1, states.size() - 1);
    EXPECT_THAT(recovered(path), AnyOf(states[saved], states[begun]));
  });
}

/// Saves to a store whose sync of this number fails, if it comes to it, and then to the same store
/// opened anew.
void saveAcrossFailedSync(int number, CallLog& log, TestStore& store) {
  std::mt19937 random(2);
  log.failSync(number);
  for (int save = 0; save < 50 && !log.hasFailedSync(); ++save) {
    const auto context = store.context();
    changeAtRandom(*context, random);
    EXPECT_TRUE(context->save(nullptr) || log.hasFailedSync());
  }
  log.failSync(0);
  store.close();
  store.open();
  for (const char* name : {"first", "second", "third"}) {
    const auto context = store.context();
    insertThing(*context, name);
    expectSaved(*context);
  }
}

TEST_P(PowerFailure, KeepsWhatWasAcknowledgedAfterAFailedSync) {
  int number = 0;
  for (bool failed = true; failed; ++number) {
    SCOPED_TRACE(number);
    CallLog log;
    const InterceptedFiles files(log);
    TestStore store(files);
    makePagesSmall(store);
    log.clear();
    SimulatedDisk disk(std::filesystem::path(store.path()).parent_path());
    saveAcrossFailedSync(number + 1, log, store);
    failed = log.hasFailedSync();
    const auto content = contentOf(*store.context());
    for (std::size_t call = 0; call < log.size(); ++call) {
      log.apply(call, disk);
    }
    failBefore(log.size(), disk,
               [&](const std::string& path, std::size_t) { EXPECT_EQ(recovered(path), content); });
  }
  EXPECT_GT(number, 52) << "each save syncs, and the checkpoint does so twice";
}

/// The names of the things that were saved by several at once until a sync failed.
std::vector<std::string> savedUntilFailure(const TestStore& store) {
  std::mutex mutex;
  std::vector<std::string> saved;
  std::vector<std::thread> threads;
  for (const char* thread : {"a", "b", "c", "d"}) {
    threads.emplace_back([&, thread] {
      for (int save = 0; save < 12; ++save) {
        const auto context = store.context();
        insertThing(*context, thread + std::to_string(save));
        if (!context->save(nullptr)) return;
        const std::lock_guard lock(mutex);
        saved.push_back(thread + std::to_string(save));
      }
    });
  }
  std::for_each(threads.begin(), threads.end(), [](std::thread& thread) { thread.join(); });
  return saved;
}

TEST(FailedSyncAmongSeveral, LeavesWhatWasAcknowledgedAndNoMore) {
  for (int number = 1; number <= 30; ++number) {
    SCOPED_TRACE(number);
    CallLog log;
    const InterceptedFiles files(log);
    TestStore store(files);
    log.failSync(number);
    std::atomic<bool> isOver = false;
    std::set<std::string> shown;
    std::thread reader([&] {
      while (!isOver) {
        for (const std::string& name : names(*store.context(), thingRequest())) {
          shown.insert(name);
        }
      }
    });
    const auto saved = savedUntilFailure(store);
    isOver = true;
    reader.join();
    EXPECT_THAT(saved, IsSupersetOf(shown));
    EXPECT_THAT(names(*store.context(), thingRequest()), UnorderedElementsAreArray(saved));
    log.failSync(0);
    store.close();
    store.open();
    EXPECT_THAT(names(*store.context(), thingRequest()), IsSupersetOf(saved));
  }
}

bool saveThing(const TestStore& store, const std::string& name, std::size_t size) {
  const auto context = store.context();
  insertThing(*context, name).setData(Data(std::string(size, 'x')));
  return context->save(nullptr);
}

/// What it shows then is on disk, though nothing has been saved since; and of a long log no more is
/// written than can be missing.
TEST_P(PowerFailure, LeavesWhatAStartShowsAfterAFailedSync) {
  const InterceptedFiles files(log_);
  TestStore store(files);
  record(store);
  ASSERT_TRUE(saveThing(store, "long", 2'000'000));
  ASSERT_TRUE(saveThing(store, "before", 5000));
  log_.failSync(1);
  EXPECT_FALSE(saveThing(store, "unsure", 300'000));
  EXPECT_TRUE(log_.hasFailedSync());
  log_.failSync(0);
  store.close();

  const std::size_t written = failAfterAStart(store.path(), files, 3);
  EXPECT_GT(written, 300'000U);
  EXPECT_LT(written, 400'000U);
}

/// Also when the next group had been committed before the sync failed.
TEST_P(PowerFailure, LeavesWhatAStartShowsAfterAFailedSyncOfTwoCommits) {
  using Committed = SQLiteConnection::Committed;
  const InterceptedFiles files(log_);
  const TestStore store(files);
  record(store);
  ASSERT_TRUE(saveThing(store, "before", 5000));
  {
    auto writer = SQLiteConnection::open(store.path(), SQLiteConnection::Role::kWriter, nullptr);
    for (int commit = 0; commit < kMostUnsyncedCommits; ++commit) {
      ASSERT_TRUE(writer->execute("BEGIN IMMEDIATE"));
      ASSERT_TRUE(writer->execute(
          "INSERT INTO Thing (_version, name, data) VALUES (1, 'unsure', zeroblob(50000))"));
      ASSERT_EQ(writer->commitUnsynced(), Committed::kUnsynced);
    }
    log_.failSync(1);
    EXPECT_TRUE(writer->syncLog().has_value());
    log_.failSync(0);
    EXPECT_TRUE(writer->syncLog().has_value()) << "no later success means anything";
    ASSERT_TRUE(writer->setReadOnly());
  }
  failAfterAStart(store.path(), files, 3);
}

INSTANTIATE_TEST_SUITE_P(Store, PowerFailure, ::testing::ValuesIn(kPowerFailures), nameOf);

}  // namespace
}  // namespace velto
