// SPDX-License-Identifier: Apache-2.0
#include "platform/persistence/PersistentStoreCoordinator.h"

#include <cstdio>
#include <filesystem>
#include <map>
#include <sys/stat.h>
#include <thread>

#include <gmock/gmock.h>
#include <sqlite3.h>

#include "platform/persistence/sqlite/StoreFile.h"
#include "tests/persistence/OpenStore.h"
#include "tests/persistence/TestStore.h"

namespace velto {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Pair;
using ::testing::SizeIs;

namespace fs = std::filesystem;

std::shared_ptr<const ManagedObjectModel> otherModel() {
  std::vector<EntityDescription> entities;
  entities.emplace_back("Thing",
                        std::vector<AttributeDescription>{{"name", AttributeType::kString}},
                        std::vector<IndexDescription>{});
  return std::make_shared<const ManagedObjectModel>(std::move(entities));
}

/// The names in a directory, and what the files hold.
std::map<std::string, std::string> snapshot(const fs::path& directory) {
  std::map<std::string, std::string> files;
  for (const auto& entry : fs::directory_iterator(directory)) {
    files[entry.path().filename()] = entry.is_regular_file() ? readFile(entry.path()) : "";
  }
  return files;
}

/// Expects that the file is refused and that nothing in its directory changes.
void expectRefused(const fs::path& path, std::int64_t code, std::string_view why) {
  const auto before = snapshot(path.parent_path());
  {
    PersistentStoreCoordinator coordinator(thingModel());
    std::optional<Error> error;
    EXPECT_FALSE(coordinator.addPersistentStore(path, &error));
    ASSERT_TRUE(error.has_value());
    EXPECT_EQ(error->domain, kPersistenceErrorDomain);
    EXPECT_EQ(error->code, code) << error->localizedDescription();
    EXPECT_THAT(error->localizedDescription(), HasSubstr(path.string()));
    EXPECT_THAT(error->localizedDescription(), HasSubstr(std::string(why)));
  }
  EXPECT_EQ(snapshot(path.parent_path()), before);
}

void runSql(const fs::path& path, const char* sql) {
  sqlite3* database = nullptr;
  ASSERT_EQ(sqlite3_open(path.c_str(), &database), SQLITE_OK);
  EXPECT_EQ(sqlite3_exec(database, sql, nullptr, nullptr, nullptr), SQLITE_OK)
      << sqlite3_errmsg(database);
  EXPECT_EQ(sqlite3_close(database), SQLITE_OK);
}

mode_t modeOf(const std::string& path) {
  struct stat status {};
  EXPECT_EQ(stat(path.c_str(), &status), 0) << path;
  return status.st_mode & 07777U;
}

TEST(PersistentStoreCoordinator, NewFilesAreForTheOwnerAlone) {
  const TestStore store;
  const auto context = store.context();
  insertThing(*context, "thing");
  expectSaved(*context);
  EXPECT_EQ(modeOf(store.path()), 0600U);
  EXPECT_EQ(modeOf(store.path() + "-wal"), 0600U);
  EXPECT_EQ(modeOf(store.path() + "-shm"), 0600U);
}

TEST(PersistentStoreCoordinator, RecordsOutliveTheCoordinator) {
  TestStore store;
  {
    const auto context = store.context();
    insertThing(*context, "thing", 5);
    expectSaved(*context);
  }
  store.close();
  EXPECT_FALSE(fs::exists(store.path() + "-wal"));
  store.open();
  EXPECT_THAT(names(*store.context(), thingRequest("date = %@", {Date(5)})), ElementsAre("thing"));
}

TEST(PersistentStoreCoordinator, SavedRecordsSurviveAStopMidway) {
  const TestStore store;
  const auto context = store.context();
  insertThing(*context, "saved");
  expectSaved(*context);
  // What the disk would hold after the power went.
  const TemporaryDirectory directory;
  const fs::path copy = directory.path() / "copy.db";
  fs::copy(store.path(), copy);
  fs::copy(store.path() + "-wal", copy.string() + "-wal");

  const auto coordinator = std::make_shared<PersistentStoreCoordinator>(thingModel());
  ASSERT_TRUE(coordinator->addPersistentStore(copy, nullptr));
  ManagedObjectContext recovered;
  recovered.setPersistentStoreCoordinator(coordinator);
  EXPECT_THAT(names(recovered, thingRequest()), ElementsAre("saved"));
}

TEST(PersistentStoreCoordinator, EmptyFileIsReplacedByAStore) {
  const TemporaryDirectory directory;
  const fs::path path = directory.write("store.db", "");
  fs::permissions(path, fs::perms(0644));
  fs::create_symlink("store.db", directory.path() / "link");
  {
    PersistentStoreCoordinator coordinator(thingModel());
    EXPECT_TRUE(coordinator.addPersistentStore(directory.path() / "link", nullptr));
    EXPECT_TRUE(fs::is_symlink(directory.path() / "link"));
    EXPECT_EQ(modeOf(path), 0600U);
    EXPECT_THAT(readFile(path), HasSubstr("SQLite format 3"));
  }
  EXPECT_THAT(snapshot(directory.path()), SizeIs(2));
}

TEST(PersistentStoreCoordinator, WhatAStopWhileCreatingLeftIsReplaced) {
  const TemporaryDirectory directory;
  const fs::path path = directory.path() / "store.db";
  for (const char* suffix : {"-new", "-new-journal", "-new-wal", "-wal", "-journal"}) {
    directory.write(std::string("store.db") + suffix, "torn");
  }
  {
    PersistentStoreCoordinator coordinator(thingModel());
    std::optional<Error> error;
    EXPECT_TRUE(coordinator.addPersistentStore(path, &error));
    EXPECT_EQ(error, std::nullopt);
  }
  EXPECT_THAT(snapshot(directory.path()), ElementsAre(Pair("store.db", HasSubstr("SQLite"))));
}

TEST(PersistentStoreCoordinator, WhatIsInTheWayOfTheNewFileIsNamed) {
  const TemporaryDirectory directory;
  directory.write("store.db-new/file", "");
  PersistentStoreCoordinator coordinator(thingModel());
  std::optional<Error> error;
  EXPECT_FALSE(coordinator.addPersistentStore(directory.path() / "store.db", &error));
  ASSERT_TRUE(error.has_value());
  EXPECT_EQ(error->code, SQLITE_CANTOPEN);
  EXPECT_THAT(error->localizedDescription(), HasSubstr("store.db-new: File exists"));
}

TEST(PersistentStoreCoordinator, ForeignFilesAreLeftAsTheyWere) {
  const TemporaryDirectory directory;
  expectRefused(directory.write("text/store.db", "no database"), kIncompatibleStoreErrorCode,
                "not a store of this program");
  expectRefused(directory.write("long/store.db", std::string(4096, 'x')),
                kIncompatibleStoreErrorCode, "not a store of this program");
  expectRefused(directory.write("short/store.db", {"SQLite format 3\0", 16}),
                kIncompatibleStoreErrorCode, "not a store of this program");
  expectRefused(directory.path() / "short", kIncompatibleStoreErrorCode, "not a regular file");
  fs::create_directory(directory.path() / "pipe");
  ASSERT_EQ(mkfifo((directory.path() / "pipe/store.db").c_str(), 0600), 0);
  expectRefused(directory.path() / "pipe/store.db", kIncompatibleStoreErrorCode,
                "not a regular file");
}

TEST(PersistentStoreCoordinator, ForeignDatabaseIsLeftAsItWas) {
  const TemporaryDirectory directory;
  const fs::path path = directory.write("store.db", "");
  runSql(path, "PRAGMA application_id = 1; CREATE TABLE t (x); PRAGMA journal_mode = WAL");
  expectRefused(path, kIncompatibleStoreErrorCode, "not a store of this program");
}

TEST(PersistentStoreCoordinator, StoreOfAnotherModelIsLeftAsItWas) {
  TemporaryDirectory directory;
  const fs::path path = directory.path() / "store.db";
  {
    PersistentStoreCoordinator coordinator(otherModel());
    ASSERT_TRUE(coordinator.addPersistentStore(path, nullptr));
  }
  expectRefused(path, kIncompatibleStoreErrorCode, "another model");
}

TEST(PersistentStoreCoordinator, UnfinishedStoreOfAnotherModelIsLeftAsItWas) {
  const OpenStore store(otherModel());
  ASSERT_TRUE(store.writer().execute("INSERT INTO Thing (_version) VALUES (1)"));
  const TemporaryDirectory directory;
  const fs::path copy = directory.path() / "copy.db";
  fs::copy(store.path(), copy);
  fs::copy(store.path() + "-wal", copy.string() + "-wal");
  ASSERT_GT(fs::file_size(copy.string() + "-wal"), 0U);
  expectRefused(copy, kIncompatibleStoreErrorCode, "another model");
}

TEST(PersistentStoreCoordinator, UnreachableFileIsAnError) {
  const TemporaryDirectory directory;
  const fs::path file = directory.write("file", "");
  fs::create_symlink("nowhere/at/all", directory.path() / "dangling");
  for (const fs::path& path :
       {directory.path() / "missing/store.db", file / "store.db", directory.path() / "dangling"}) {
    PersistentStoreCoordinator coordinator(thingModel());
    std::optional<Error> error;
    EXPECT_FALSE(coordinator.addPersistentStore(path, &error));
    ASSERT_TRUE(error.has_value()) << path;
    EXPECT_EQ(error->code, SQLITE_CANTOPEN);
    EXPECT_THAT(error->localizedDescription(), HasSubstr(path.string()));
  }
  EXPECT_EQ(snapshot(directory.path()).size(), 2U);
}

TEST(PersistentStoreCoordinator, DamagedStoreIsAnError) {
  TestStore store;
  store.close();
  std::string bytes = readFile(store.path());
  std::fill(bytes.begin() + 100, bytes.end(), '\xff');
  const TemporaryDirectory directory;
  const fs::path damaged = directory.write("store.db", bytes);
  PersistentStoreCoordinator coordinator(thingModel());
  std::optional<Error> error;
  EXPECT_FALSE(coordinator.addPersistentStore(damaged, &error));
  ASSERT_TRUE(error.has_value());
  EXPECT_EQ(error->code & 0xff, SQLITE_CORRUPT) << error->localizedDescription();
  EXPECT_EQ(readFile(damaged), bytes);
}

TEST(PersistentStoreCoordinator, MissingIndexesAreAdded) {
  TestStore store;
  store.close();
  runSql(store.path(), "DROP INDEX \"Thing(name,date)\"");
  store.open();
  sqlite3* database = nullptr;
  ASSERT_EQ(sqlite3_open(store.path().c_str(), &database), SQLITE_OK);
  EXPECT_EQ(sqlite3_exec(database, "DROP INDEX \"Thing(name,date)\"", nullptr, nullptr, nullptr),
            SQLITE_OK);
  sqlite3_close(database);
}

TEST(PersistentStoreCoordinator, OpeningAgainChangesNothing) {
  TestStore store;
  store.close();
  const std::string before = readFile(store.path());
  store.open();
  store.close();
  EXPECT_EQ(readFile(store.path()), before);
}

TEST(PersistentStoreCoordinator, FileIsReadableByTheCommandLineProgram) {
  const TestStore store;
  const auto context = store.context();
  Thing thing = insertThing(*context, "it's", 1.5);
  thing.setData(Data("\x01\xff"));
  thing.setEnabled(true);
  insertThing(*context, "second");
  expectSaved(*context);
  const std::string command =
      "sqlite3 -readonly '" + store.path() +
      "' 'SELECT _id, _version, name, date, hex(data), enabled FROM Thing; PRAGMA integrity_check'";
  FILE* const program = popen(command.c_str(), "r");
  ASSERT_NE(program, nullptr);
  char output[200]{};
  const std::size_t size = fread(output, 1, sizeof output, program);
  EXPECT_EQ(pclose(program), 0);
  EXPECT_EQ(std::string(output, size), "1|1|it's|1.5|01FF|1\n2|1|second|0.0||\nok\n");
}

TEST(PersistentStoreCoordinator, FetchFailsWithTheErrorOfTheDatabase) {
  const TestStore store;
  const auto context = store.context();
  EXPECT_THAT(names(*context, thingRequest()), ElementsAre());
  runSql(store.path(), "DROP TABLE Thing");
  std::optional<Error> error = makeError("Earlier", 1, "");
  EXPECT_FALSE(context->executeFetchRequest<Thing>(thingRequest(), &error).has_value());
  EXPECT_EQ(error->domain, kPersistenceErrorDomain);
  EXPECT_EQ(error->code, SQLITE_ERROR);
  EXPECT_THAT(error->localizedDescription(), HasSubstr("no such table: Thing"));
  insertThing(*context, "thing");
  EXPECT_FALSE(context->save(&error));
  EXPECT_TRUE(context->hasChanges());
}

TEST(PersistentStoreCoordinator, SaveWaitsForNoReader) {
  const TestStore store;
  const auto context = store.context();
  insertThing(*context, "first");
  expectSaved(*context);
  sqlite3* reader = nullptr;
  ASSERT_EQ(sqlite3_open(store.path().c_str(), &reader), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(reader, "BEGIN; SELECT * FROM Thing", nullptr, nullptr, nullptr),
            SQLITE_OK);
  insertThing(*context, "second");
  expectSaved(*context);
  sqlite3_close(reader);
}

TEST(PersistentStoreCoordinator, TheDataVersionIsAnotherOneAfterASave) {
  const TestStore store;
  const auto first = store.coordinator()->dataVersion();
  ASSERT_TRUE(first);
  EXPECT_EQ(store.coordinator()->dataVersion(), first);
  const auto context = store.context();
  insertThing(*context, "thing");
  EXPECT_EQ(store.coordinator()->dataVersion(), first) << "nothing is saved yet";
  expectSaved(*context);
  const auto second = store.coordinator()->dataVersion();
  EXPECT_NE(second, first);
  EXPECT_EQ(store.coordinator()->dataVersion(), second);
}

TEST(PersistentStoreCoordinator, TheDataVersionIsSoonAnotherOneAfterACommitFromOutside) {
  const TestStore store;
  const auto first = store.coordinator()->dataVersion();
  runSql(store.path(), "INSERT INTO Thing (_version, name) VALUES (1, 'thing')");
  while (store.coordinator()->dataVersion() == first) {
    std::this_thread::yield();
  }
}

TEST(PersistentStoreCoordinator, WithoutAStoreThereIsNoDataVersion) {
  EXPECT_EQ(PersistentStoreCoordinator(thingModel()).dataVersion(), std::nullopt);
}

}  // namespace
}  // namespace velto
