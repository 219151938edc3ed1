// SPDX-License-Identifier: Apache-2.0
// Full disks and disks that fail, at each call in turn.

#include <algorithm>
#include <filesystem>
#include <functional>
#include <random>
#include <set>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>

#include "platform/persistence/FetchCursor.h"
#include "tests/persistence/OtherConnection.h"
#include "tests/persistence/StoreContent.h"
#include "tests/persistence/TestStore.h"
#include "tests/support/InterceptedFiles.h"

namespace velto {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Le;
using ::testing::SizeIs;
using ::testing::StartsWith;
using Kind = FileCall::Kind;

/// Lets a call fail, and those after it as long as the fault lasts.
class FaultyFiles : public FileObserver {
 public:
  struct Fault {
    std::set<Kind> kinds;
    int result;
    bool writesHalf = false;
    bool lasts = false;
    std::string path = {};  ///< only calls to this file; empty is any
  };

  Verdict before(const FileCall& call) override {
    const bool counts =
        fault_.kinds.contains(call.kind) && (fault_.path.empty() || fault_.path == call.path);
    if (!counts || number_ == 0 || --number_ > 0) {
      return {};
    }
    number_ = fault_.lasts ? 1 : 0;
    ++failures_;
    return {fault_.result, fault_.writesHalf ? call.data.size() / 2 : 0};
  }

  /// Of the calls of these kinds, the one of this number from now on, from 1, fails.
  void arm(const Fault& fault, int number) {
    fault_ = fault;
    number_ = number;
    failures_ = 0;
  }
  void disarm() { number_ = 0; }
  int failures() const { return failures_; }

 private:
  Fault fault_{};
  int number_ = 0;
  int failures_ = 0;
};

using Fault = FaultyFiles::Fault;

const std::set<Kind> kChanges = {Kind::kWrite, Kind::kTruncate};

struct Case {
  const char* name;
  Fault fault;
};

void PrintTo(const Case& row, std::ostream* out) {
  *out << row.name;
}

std::string nameOf(const ::testing::TestParamInfo<Case>& info) {
  return info.param.name;
}

void saveAtRandom(const TestStore& store, std::mt19937& random) {
  const auto context = store.context();
  changeAtRandom(*context, random);
  expectSaved(*context);
}

/// The calls fail that a save makes.
class SaveFault : public ::testing::TestWithParam<Case> {};

/// Saves with the given call failing; true when the save was made all the same.
bool saveThroughFault(FaultyFiles& faults, const Fault& fault, int number, const TestStore& store,
                      ManagedObjectContext& context) {
  const auto before = contentOf(*store.context());
  const auto after = contentOf(context);
  faults.arm(fault, number);
  std::optional<Error> error;
  const bool saved = context.save(&error);
  faults.disarm();
  EXPECT_EQ(context.hasChanges(), !saved);
  EXPECT_EQ(contentOf(*store.context()), saved ? after : before);
  EXPECT_EQ(error.has_value(), !saved);
  if (error) {
    EXPECT_GT(faults.failures(), 0);
    EXPECT_EQ(error->code & 0xff, fault.result & 0xff) << error->localizedDescription();
    EXPECT_THAT(error->localizedDescription(), StartsWith(store.path() + ": "));
  }
  return saved;
}

TEST_P(SaveFault, ChangesNothingAndTheNextSaveWorks) {
  FaultyFiles faults;
  const InterceptedFiles files(faults);
  TestStore store;
  std::mt19937 random(3);
  for (int save = 0; save < 15; ++save) {
    SCOPED_TRACE(save);
    const auto context = store.context();
    changeAtRandom(*context, random);
    int number = 1;
    while (!saveThroughFault(faults, GetParam().fault, number, store, *context)) {
      ++number;
    }
    EXPECT_GT(number, 1);
    EXPECT_EQ(faults.failures(), 0);
    EXPECT_EQ(integrityOf(store.path()), "ok");
  }
}

TEST_P(SaveFault, OfTheCheckpointFailsNoSave) {
  FaultyFiles faults;
  const InterceptedFiles files(faults);
  TestStore store;
  makePagesSmall(store);
  const auto context = store.context();
  Thing thing = insertThing(*context, "thing");
  char content = 'a';
  const auto saveLargeThing = [&] {
    thing.setData(Data(std::string(80'000, ++content)));
    expectSaved(*context);
  };
  Fault fault = GetParam().fault;
  fault.path = store.path();
  int number = 1;
  faults.arm(fault, number);
  for (int save = 0; save < 60 && faults.failures() == 0; ++save) {
    saveLargeThing();
  }
  // The log is long now, and stays so until a checkpoint is through.
  while (faults.failures() != 0) {
    faults.arm(fault, ++number);
    saveLargeThing();
    EXPECT_EQ(contentOf(*store.context()), contentOf(*context));
  }
  EXPECT_GT(number, 20);
  EXPECT_EQ(integrityOf(store.path()), "ok");
}

void saveTwoLargeThings(const TestStore& store) {
  for (const char* name : {"one", "another"}) {
    const auto context = store.context();
    insertThing(*context, name).setData(Data(std::string(40'000, 'x')));
    expectSaved(*context);
  }
}

/// What fails when the log is emptied, here at a stop, costs nothing but that.
TEST_P(SaveFault, OfTheEmptyingOfTheLogLosesNothing) {
  FaultyFiles faults;
  const InterceptedFiles files(faults);
  TestStore store;
  const OtherConnection other(store.path());
  int number = 0;
  do {
    SCOPED_TRACE(++number);
    saveTwoLargeThings(store);
    const auto content = contentOf(*store.context());
    faults.arm(GetParam().fault, number);
    store.close();
    faults.disarm();
    EXPECT_EQ(std::filesystem::file_size(store.path() + "-wal") == 0, faults.failures() == 0);
    store.open();
    EXPECT_EQ(contentOf(*store.context()), content);
    EXPECT_EQ(integrityOf(store.path()), "ok");
  } while (faults.failures() != 0);
  EXPECT_GT(number, 15);
}

const Case kSaveFaults[] = {
    {"DiskFull", {kChanges, SQLITE_FULL}},
    {"DiskFullHalfwayThroughAWrite", {kChanges, SQLITE_FULL, true}},
    {"DiskFullForAWhile", {kChanges, SQLITE_FULL, true, true}},
    {"WriteError", {kChanges, SQLITE_IOERR_WRITE}},
};

INSTANTIATE_TEST_SUITE_P(Store, SaveFault, ::testing::ValuesIn(kSaveFaults), nameOf);

/// The calls fail that opening makes.
class OpeningFault : public ::testing::TestWithParam<Case> {};

/// Opens with each call failing in turn, until none fails any more; the files stay openable.
void openThroughEachFault(FaultyFiles& faults, const Fault& fault, const std::string& path,
                          const DirectoryEntries& entries) {
  int failed = 0;
  for (int number = 1; number == 1 || faults.failures() != 0; ++number) {
    SCOPED_TRACE(number);
    PersistentStoreCoordinator coordinator(thingModel(), entries);
    std::optional<Error> error;
    faults.arm(fault, number);
    const bool opened = coordinator.addPersistentStore(path, &error);
    faults.disarm();
    EXPECT_EQ(opened, !error.has_value());
    if (error) {
      ++failed;
      EXPECT_EQ(error->domain, kPersistenceErrorDomain);
      EXPECT_THAT(error->localizedDescription(), StartsWith(path));
    }
  }
  EXPECT_GT(failed, 0);
}

TEST_P(OpeningFault, OfANewStoreLeavesNothingInTheWay) {
  FaultyFiles faults;
  const InterceptedFiles files(faults);
  const TemporaryDirectory directory;
  const std::string path = directory.path() / "store.db";
  for (int number = 1; number == 1 || faults.failures() != 0; ++number) {
    SCOPED_TRACE(number);
    std::filesystem::remove(path);
    {
      PersistentStoreCoordinator coordinator(thingModel(), files);
      faults.arm(GetParam().fault, number);
      coordinator.addPersistentStore(path, nullptr);
      faults.disarm();
    }
    EXPECT_EQ(recoveredContent(path).size(), 0U);
  }
}

TEST_P(OpeningFault, OfAStoreWithALogLosesNothing) {
  FaultyFiles faults;
  const InterceptedFiles files(faults);
  const TestStore store;
  std::mt19937 random(4);
  for (int save = 0; save < 5; ++save) {
    saveAtRandom(store, random);
  }
  const TemporaryDirectory directory;
  const std::string path = directory.path() / "store.db";
  std::filesystem::copy(store.path(), path);
  std::filesystem::copy(store.path() + "-wal", path + "-wal");
  openThroughEachFault(faults, GetParam().fault, path, files);
  EXPECT_EQ(recoveredContent(path), contentOf(*store.context()));
}

const Case kOpeningFaults[] = {
    {"DiskFull", {kChanges, SQLITE_FULL, true}},
    {"WriteError", {kChanges, SQLITE_IOERR_WRITE}},
    {"SyncError", {{Kind::kSync}, SQLITE_IOERR_FSYNC}},
    {"ReadError", {{Kind::kRead}, SQLITE_IOERR_READ}},
    {"OpenError", {{Kind::kOpen}, SQLITE_CANTOPEN}},
    {"DirectorySyncError", {{Kind::kSyncDirectory}, SQLITE_IOERR_DIR_FSYNC}},
};

INSTANTIATE_TEST_SUITE_P(Store, OpeningFault, ::testing::ValuesIn(kOpeningFaults), nameOf);

TEST(FailedRename, LeavesNoStoreAndNothingInTheWay) {
  FaultyFiles faults;
  const InterceptedFiles files(faults);
  const TemporaryDirectory directory;
  const std::string path = directory.path() / "store.db";
  {
    PersistentStoreCoordinator coordinator(thingModel(), files);
    std::optional<Error> error;
    faults.arm({{Kind::kRename}, SQLITE_IOERR}, 1);
    EXPECT_FALSE(coordinator.addPersistentStore(path, &error));
    EXPECT_EQ(error->code, SQLITE_CANTOPEN);
    EXPECT_EQ(error->localizedDescription(), path + ": Input/output error");
  }
  EXPECT_TRUE(std::filesystem::is_empty(directory.path()));
  EXPECT_THAT(recoveredContent(path), IsEmpty());
}

void expectUntrusted(ManagedObjectContext& context) {
  std::optional<Error> error;
  EXPECT_FALSE(context.save(&error));
  ASSERT_TRUE(error.has_value());
  EXPECT_EQ(error->code, kUntrustedStoreErrorCode);
  EXPECT_THAT(error->localizedDescription(), HasSubstr("until the service is started again"));
  EXPECT_TRUE(context.hasChanges());
}

TEST(FailedSync, EndsSavingUntilTheStoreIsOpenedAnew) {
  FaultyFiles faults;
  const InterceptedFiles files(faults);
  TestStore store;
  {
    const auto context = store.context();
    insertThing(*context, "failed");
    faults.arm({{Kind::kSync}, SQLITE_IOERR_FSYNC}, 1);
    std::optional<Error> error;
    EXPECT_FALSE(context->save(&error));
    EXPECT_EQ(error->code, SQLITE_IOERR_FSYNC) << error->localizedDescription();
    expectUntrusted(*context);
  }
  const auto context = store.context();
  EXPECT_THAT(names(*context, thingRequest()), IsEmpty()) << "reading goes on";
  insertThing(*context, "later");
  expectUntrusted(*context);
  store.close();
  store.open();
  EXPECT_THAT(recoveredContent(store.path()), SizeIs(Le(1)));
}

TEST(FailedSync, OfACheckpointFailsNoSaveButThoseAfterIt) {
  FaultyFiles faults;
  const InterceptedFiles files(faults);
  TestStore store;
  makePagesSmall(store);
  const auto context = store.context();
  // A save that makes the log long: its commit syncs once, and then the checkpoint does.
  insertThing(*context, "long").setData(Data(std::string(4'500'000, 'x')));
  faults.arm({{Kind::kSync}, SQLITE_IOERR_FSYNC}, 3);
  expectSaved(*context);
  EXPECT_EQ(faults.failures(), 1);
  insertThing(*context, "next");
  expectUntrusted(*context);
  store.close();
  store.open();
  EXPECT_THAT(names(*store.context(), thingRequest()), ElementsAre("long"));
}

TEST(FailedSync, OfTheEmptyingOfTheLogLosesNothing) {
  FaultyFiles faults;
  const InterceptedFiles files(faults);
  TestStore store;
  const OtherConnection other(store.path());
  for (int number = 1; number <= 2; ++number) {
    SCOPED_TRACE(number);
    saveTwoLargeThings(store);
    const auto content = contentOf(*store.context());
    faults.arm({{Kind::kSync}, SQLITE_IOERR_FSYNC}, number);
    store.close();
    faults.disarm();
    EXPECT_EQ(faults.failures(), 1) << "of the log, then of the file";
    EXPECT_GT(std::filesystem::file_size(store.path() + "-wal"), 0U);
    store.open();
    EXPECT_EQ(contentOf(*store.context()), content);
  }
}

TEST(ReadError, FailsTheFetchAndNoMore) {
  FaultyFiles faults;
  const InterceptedFiles files(faults);
  const TestStore store;
  const auto context = store.context();
  insertThing(*context, "thing").setData(Data(std::string(100000, 'x')));
  expectSaved(*context);
  int failed = 0;
  for (int number = 1; number == 1 || faults.failures() != 0; ++number) {
    faults.arm({{Kind::kRead}, SQLITE_IOERR_READ}, number);
    std::optional<Error> error;
    const auto found = store.context()->executeFetchRequest(thingRequest(), &error);
    faults.disarm();
    EXPECT_EQ(found.has_value(), !error.has_value());
    failed += error ? 1 : 0;
    EXPECT_THAT(names(*store.context(), thingRequest()), ElementsAre("thing"));
  }
  EXPECT_GT(failed, 0);
}

/// Reads on from where the cursor is, to the end or an error; how many records there were.
std::size_t readOn(FetchCursor& cursor, ErrorSlot error) {
  std::size_t count = 0;
  const auto takeOne = [&](const Thing&) {
    ++count;
    return false;
  };
  while (cursor.read<Thing>(takeOne, error)) {
  }
  return count;
}

TEST(ReadError, LeavesACursorWhereItWas) {
  constexpr std::size_t kThings = 3000;
  FaultyFiles faults;
  const InterceptedFiles files(faults);
  const TestStore store;
  const auto context = store.context();
  for (std::size_t count = 0; count < kThings; ++count) {
    insertThing(*context, "thing", static_cast<double>(count));
  }
  FetchRequest request = thingRequest("name = %@", {std::string("thing")});
  request.setSortDescriptors({{.key = "date", .ascending = false}});
  request.setOrder(FetchRequest::Order::kIndexed);
  // What is read in order goes one record further than asked for, and meets most errors there.
  for (const auto& [parts, few] : {std::pair{datedAndUndated(request), 3},
                                   std::pair{std::vector<FetchPart>{{{request}, true}}, 5}}) {
    int failed = 0;
    for (int number = 1; number == 1 || faults.failures() != 0; ++number) {
      SCOPED_TRACE(number);
      insertThing(*context, "another");  // so that no reader knows the pages any more
      expectSaved(*context);
      FetchCursor cursor(store.coordinator(), parts);
      std::optional<Error> error;
      faults.arm({{Kind::kRead}, SQLITE_IOERR_READ}, number);
      const std::size_t before = readOn(cursor, &error);
      faults.disarm();
      EXPECT_EQ(error.has_value(), before < kThings);
      failed += error ? 1 : 0;
      EXPECT_EQ(before + readOn(cursor, nullptr), kThings);
    }
    EXPECT_GT(failed, few);
  }
}

}  // namespace
}  // namespace velto
