// SPDX-License-Identifier: Apache-2.0
// What may befall a store's file while nobody looks: other programs' locks, copies, versions.

#include "platform/persistence/sqlite/StoreFile.h"

#include <atomic>
#include <filesystem>
#include <fstream>
#include <thread>

#include <gmock/gmock.h>
#include <sqlite3.h>

#include "tests/persistence/TestStore.h"

namespace velto {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

namespace fs = std::filesystem;

/// Another program's connection.
class Shell {
 public:
  explicit Shell(const std::string& path) {
    EXPECT_EQ(sqlite3_open(path.c_str(), &database_), SQLITE_OK);
  }
  ~Shell() { sqlite3_close(database_); }
  Shell(const Shell&) = delete;
  Shell& operator=(const Shell&) = delete;

  void run(const std::string& sql) {
    EXPECT_EQ(sqlite3_exec(database_, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK)
        << sql << ": " << sqlite3_errmsg(database_);
  }

 private:
  sqlite3* database_ = nullptr;
};

class StoreFileTest : public ::testing::Test {
 protected:
  void save(std::string_view name) {
    const auto context = store_.context();
    insertThing(*context, name);
    expectSaved(*context);
  }
  std::vector<std::string> saved() { return names(*store_.context(), thingRequest()); }

  TestStore store_;
};

TEST_F(StoreFileTest, ACompleteStoreIsOpenedBesideALock) {
  save("thing");
  store_.close();
  Shell other(store_.path());
  other.run("BEGIN IMMEDIATE");
  store_.open();
  EXPECT_THAT(saved(), ElementsAre("thing"));
}

TEST_F(StoreFileTest, WhatLacksAnIndexWaitsForALockAndSaysSo) {
  store_.close();
  Shell(store_.path()).run("DROP INDEX \"Thing(enabled)\"");
  auto other = std::make_unique<Shell>(store_.path());
  other->run("BEGIN IMMEDIATE");
  std::vector<std::string> lines;
  PersistentStoreCoordinator coordinator(thingModel());
  std::optional<Error> error;
  const auto letGo = [&](std::string_view line) {
    lines.emplace_back(line);
    other.reset();
  };
  EXPECT_TRUE(coordinator.addPersistentStore(store_.path(), &error, letGo))
      << error->localizedDescription();
  EXPECT_THAT(lines,
              ElementsAre(store_.path() + " is locked by another program, which is waited for"));
}

TEST_F(StoreFileTest, AnIndexThatTheModelHasNoMoreIsDropped) {
  store_.close();
  Shell(store_.path())
      .run(
          "CREATE INDEX \"Thing(data)\" ON Thing(data); CREATE INDEX mine ON "
          "Thing(data)");
  store_.open();
  const auto reader =
      SQLiteConnection::open(store_.path(), SQLiteConnection::Role::kReader, nullptr);
  EXPECT_EQ(reader->integer("SELECT count(*) FROM sqlite_master WHERE name = 'Thing(data)'"), 0);
  EXPECT_EQ(reader->integer("SELECT count(*) FROM sqlite_master WHERE name = 'mine'"), 1);
}

TEST_F(StoreFileTest, ASaveToAFileThatIsGoneFailsUntilItIsBack) {
  save("before");
  const auto context = store_.context();
  insertThing(*context, "after");
  fs::rename(store_.path(), store_.path() + ".moved");
  std::optional<Error> error;
  EXPECT_FALSE(context->save(&error));
  ASSERT_TRUE(error);
  EXPECT_EQ(error->code, kMovedStoreErrorCode);
  EXPECT_THAT(error->localizedDescription(), HasSubstr(store_.path()));
  fs::rename(store_.path() + ".moved", store_.path());
  expectSaved(*context);
  EXPECT_THAT(saved(), ElementsAre("before", "after"));
}

// --- Copies ---

TEST_F(StoreFileTest, ACopyThatIsMadeWhileOthersSaveIsAStore) {
  save("before");
  std::atomic<bool> isDone = false;
  std::thread others([&] {
    while (!isDone) {
      save("meanwhile");
    }
  });
  const std::string copy = store_.path() + ".copy";
  Shell(store_.path()).run("VACUUM INTO '" + copy + "'");
  isDone = true;
  others.join();
  save("after");
  store_.close();
  // Put back beside the log of a store that was killed, as far as this one knows.
  std::ofstream(store_.path() + "-wal") << "the log of another file";
  fs::rename(copy, store_.path());
  std::vector<std::string> lines;
  PersistentStoreCoordinator coordinator(thingModel());
  std::optional<Error> error;
  EXPECT_TRUE(coordinator.addPersistentStore(store_.path(), &error, [&](std::string_view line) {
    lines.emplace_back(line);
  })) << error->localizedDescription();
  EXPECT_THAT(lines, ElementsAre(HasSubstr("-wal-aside")));
  EXPECT_EQ(readFile(store_.path() + "-wal-aside"), "the log of another file");
}

TEST_F(StoreFileTest, ACopyHoldsWhatWasSavedBefore) {
  save("before");
  const std::string copy = store_.path() + ".copy";
  Shell(store_.path()).run("VACUUM INTO '" + copy + "'");
  save("after");
  store_.close();
  fs::rename(copy, store_.path());
  store_.open();
  EXPECT_THAT(saved(), ElementsAre("before"));
  save("again");
  EXPECT_THAT(saved(), ElementsAre("before", "again"));
}

// --- Versions ---

std::string tagOf(const std::string& path) {
  return readFile(path).substr(60, 4);
}

TEST_F(StoreFileTest, TheTagBeginsWithTheVersion) {
  store_.close();
  EXPECT_EQ(tagOf(store_.path())[0], '\1');
}

TEST_F(StoreFileTest, TheFirstFilesOfVersionOneHaveTheHashAlone) {
  save("thing");
  store_.close();
  const auto hash = std::stoul(thingModel()->versionHash().substr(0, 8), nullptr, 16);
  Shell(store_.path())
      .run("PRAGMA user_version = " + std::to_string(static_cast<std::int32_t>(hash)));
  store_.open();
  EXPECT_THAT(saved(), ElementsAre("thing"));
}

/// What docs/changing.md tells of bringing an older file forward: version 2 has a new attribute.
TEST_F(StoreFileTest, ALaterVersionCanBringAFileForward) {
  save("thing");
  store_.close();
  std::vector<EntityDescription> entities = thingModel()->entities();
  std::vector<AttributeDescription> attributes = entities[0].attributes();
  attributes.push_back({"added", AttributeType::kString});
  const EntityDescription grown("Thing", attributes, entities[0].indexes());
  const auto model = std::make_shared<const ManagedObjectModel>(
      std::vector<EntityDescription>{grown, entities[1]}, std::uint8_t{2});
  EXPECT_FALSE(PersistentStoreCoordinator(model).addPersistentStore(store_.path(), nullptr));

  const auto hash = std::stoul(model->versionHash().substr(0, 8), nullptr, 16);
  const auto tag = static_cast<std::int32_t>(2UL << 24 | hash >> 8);
  Shell(store_.path())
      .run("BEGIN IMMEDIATE; ALTER TABLE Thing ADD COLUMN added TEXT; PRAGMA user_version = " +
           std::to_string(tag) + "; COMMIT");
  const auto coordinator = std::make_shared<PersistentStoreCoordinator>(model);
  std::optional<Error> error;
  ASSERT_TRUE(coordinator->addPersistentStore(store_.path(), &error))
      << error->localizedDescription();
  ManagedObjectContext context;
  context.setPersistentStoreCoordinator(coordinator);
  const auto things = context.executeFetchRequest<Thing>(thingRequest(), nullptr);
  ASSERT_EQ(things->size(), 1U);
  EXPECT_EQ(things->front().name(), "thing");
  EXPECT_EQ(things->front().value(4), AttributeValue());
}

}  // namespace
}  // namespace velto
