// SPDX-License-Identifier: Apache-2.0
// What a power failure leaves of a store whose name, or whose log's name, is not certain yet.

#include <algorithm>
#include <filesystem>
#include <fstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/persistence/PowerFailure.h"

namespace velto {
namespace {

namespace fs = std::filesystem;

using ::testing::AnyOf;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::StartsWith;
using Failure = SimulatedDisk::Failure;

class NewStorePowerFailure : public PowerFailure {
 protected:
  /// Inserts a record, saves it, and notes that it is acknowledged.
  static void saveThing(const TestStore& store, const std::string& name, CallLog& log) {
    const auto context = store.context();
    insertThing(*context, name).setData(Data(std::string(20000, 'x')));
    expectSaved(*context);
    log.acknowledge(name);
  }

  /// Applies what has come since the log was cleared, and lets the power fail then.
  void failAtEnd(const CallLog& log, SimulatedDisk& disk, const Check& check) {
    for (std::size_t call = 0; call < log.size(); ++call) {
      log.apply(call, disk);
    }
    failBefore(log.size(), disk, check);
  }

  const TemporaryDirectory empty_;
};

TEST_P(NewStorePowerFailure, WhileCreatingLeavesNothingInTheWay) {
  std::string path;
  {
    const InterceptedFiles files(log_);
    path = TestStore(files).path();
  }
  disk_.emplace(empty_.path());
  const std::size_t renaming = log_.last(Kind::kRename);
  const std::size_t lastSync = log_.last(Kind::kSyncDirectory);
  EXPECT_GT(renaming, 10U);
  EXPECT_LT(renaming, lastSync);
  failAtEachCall([&](const std::string& left, std::size_t call) {
    const bool isLasting = call > lastSync;
    const bool isThere = fs::exists(left);
    EXPECT_TRUE(isThere || !isLasting);
    EXPECT_TRUE(!isThere || call > renaming);
    if (call > renaming && !isLasting && GetParam().seed == 0) {
      EXPECT_EQ(isThere, GetParam().failure == Failure::kLosesNothing);
    }
    if (call == renaming) {
      EXPECT_TRUE(disk_->isCertain(path + "-new")) << "when it gets its name";
    }
    EXPECT_THAT(recovered(left), IsEmpty());
  });
}

TEST_P(NewStorePowerFailure, KeepsWhatWasAcknowledgedFromTheFirstSaveOn) {
  std::vector<std::vector<std::string>> states(1);  // after each save
  disk_.emplace(empty_.path());
  {
    const InterceptedFiles files(log_);
    TestStore store(files);
    for (const char* name : {"first", "second", "third"}) {
      saveThing(store, name, log_);
      states.push_back(contentOf(*store.context()));
    }
  }
  failAtEachCall([&](const std::string& path, std::size_t call) {
    const std::size_t saved = log_.acknowledgedBefore(call).size();
    const std::size_t begun = std::min(saved + 1, states.size() - 1);
    EXPECT_THAT(recovered(path), AnyOf(states[saved], states[begun]));
  });
}

TEST_P(NewStorePowerFailure, TakesNothingFromTheLogOfAFormerOne) {
  {
    const InterceptedFiles files(log_);
    TestStore store(files);
    saveThing(store, "former", log_);
    const std::string log = readFile(store.path() + "-wal");
    store.close();
    fs::remove(store.path());
    std::ofstream(store.path() + "-wal", std::ios::binary) << log;
    record(store);
    store.open();
  }
  failAtEachCall(
      [&](const std::string& path, std::size_t) { EXPECT_THAT(recovered(path), IsEmpty()); });
}

TEST_P(NewStorePowerFailure, KeepsWhatWasAcknowledgedAfterAStopBeforeItsNameWasCertain) {
  const InterceptedFiles files(log_);
  TestStore store(files);
  SimulatedDisk disk(empty_.path());
  const std::size_t lastSync = log_.last(Kind::kSyncDirectory);
  for (std::size_t call = 0; call < lastSync; ++call) {
    log_.apply(call, disk);
  }
  // The process has been killed here, and another one finds the file in place.
  store.close();
  log_.clear();
  store.open();
  saveThing(store, "thing", log_);
  failAtEnd(log_, disk,
            [&](const std::string& path, std::size_t) { EXPECT_THAT(recovered(path), SizeIs(1)); });
}

/// Expects that the store is opened, or that a sync has failed and nothing can be saved to it.
void openAcrossFailedSync(const std::string& path, const DirectoryEntries& entries, bool& failed,
                          const CallLog& log) {
  const auto coordinator = std::make_shared<PersistentStoreCoordinator>(thingModel(), entries);
  std::optional<Error> error;
  const bool opened = coordinator->addPersistentStore(path, &error);
  failed = log.hasFailedSync();
  EXPECT_EQ(opened, !failed);
  if (failed) {
    EXPECT_EQ(error->domain, kPersistenceErrorDomain);
    EXPECT_EQ(error->code, SQLITE_CANTOPEN);
    EXPECT_THAT(error->localizedDescription(), StartsWith(path + ": "));
    ManagedObjectContext context;
    context.setPersistentStoreCoordinator(coordinator);
    insertThing(context, "thing");
    EXPECT_FALSE(context.save(&error));
    EXPECT_EQ(error->code, kNoStoreErrorCode);
  }
}

TEST_P(NewStorePowerFailure, WithAFailedSyncOfItsNameIsNotOpenedAndTheNextOneLasts) {
  int number = 0;
  for (bool failed = true; failed; ++number) {
    SCOPED_TRACE(number);
    CallLog log;
    const InterceptedFiles files(log);
    const TemporaryDirectory directory;
    const std::string path = directory.path() / "store.db";
    SimulatedDisk disk(directory.path());
    log.failSync(number + 1, Kind::kSyncDirectory);
    openAcrossFailedSync(path, files, failed, log);
    log.failSync(0);
    const auto content = recoveredContent(path, files);
    EXPECT_THAT(content, IsEmpty());
    failAtEnd(log, disk, [&](const std::string& left, std::size_t) {
      EXPECT_THAT(recovered(left), SizeIs(1)) << "recoveredContent saves one";
    });
  }
  EXPECT_EQ(number, 3) << "one before the file gets its name, and one after";
}

INSTANTIATE_TEST_SUITE_P(Store, NewStorePowerFailure, ::testing::ValuesIn(kPowerFailures), nameOf);

}  // namespace
}  // namespace velto
