// SPDX-License-Identifier: Apache-2.0
#include "tests/persistence/StoreContent.h"

#include <algorithm>
#include <memory>
#include <optional>

#include <gtest/gtest.h>
#include <sqlite3.h>

#include "tests/persistence/TestStore.h"

namespace velto {

namespace {

constexpr std::size_t kManyThings = 12;

std::shared_ptr<PersistentStoreCoordinator> opened(const std::string& path,
                                                   const DirectoryEntries& entries) {
  auto coordinator = std::make_shared<PersistentStoreCoordinator>(thingModel(), entries);
  std::optional<Error> error;
  EXPECT_TRUE(coordinator->addPersistentStore(path, &error)) << error->localizedDescription();
  return coordinator;
}

std::size_t below(std::mt19937& random, std::size_t bound) {
  return random() % bound;
}

void setAtRandom(Thing thing, std::mt19937& random) {
  thing.setDate(Date(static_cast<double>(random())));
  thing.setData(Data(std::string(below(random, 60000), static_cast<char>(random()))));
}

}  // namespace

std::vector<std::string> contentOf(ManagedObjectContext& context) {
  std::vector<std::string> lines;
  for (const Thing& thing : fetchThings(context, thingRequest())) {
    const std::string data(thing.data().value_or(Data()).view());
    lines.push_back(thing.name().value_or("-") + " " +
                    std::to_string(thing.date().value_or(Date(0)).secondsSinceReference()) + " " +
                    std::to_string(data.size()) + " " +
                    std::to_string(std::hash<std::string>()(data)));
  }
  return lines;
}

void changeAtRandom(ManagedObjectContext& context, std::mt19937& random) {
  std::vector<Thing> things = fetchThings(context, thingRequest());
  std::shuffle(things.begin(), things.end(), random);
  for (std::size_t changes = 1 + below(random, 8); changes != 0; --changes) {
    if (things.size() < 2 || (things.size() < kManyThings && below(random, 3) == 0)) {
      setAtRandom(insertThing(context, std::to_string(random())), random);
    } else if (below(random, 4) == 0) {
      context.deleteObject(things.back());
      things.pop_back();
    } else {
      setAtRandom(things[below(random, things.size())], random);
    }
  }
}

std::string integrityOf(const std::string& path) {
  sqlite3* database = nullptr;
  sqlite3_stmt* statement = nullptr;
  EXPECT_EQ(sqlite3_open_v2(path.c_str(), &database, SQLITE_OPEN_READWRITE, nullptr), SQLITE_OK);
  EXPECT_EQ(sqlite3_prepare_v2(database, "PRAGMA integrity_check", -1, &statement, nullptr),
            SQLITE_OK);
  std::string answer;
  if (sqlite3_step(statement) == SQLITE_ROW) {
    answer = reinterpret_cast<const char*>(sqlite3_column_text(statement, 0));
  }
  sqlite3_finalize(statement);
  sqlite3_close(database);
  return answer;
}

std::vector<std::string> recoveredContent(const std::string& path,
                                          const DirectoryEntries& entries) {
  std::vector<std::string> content;
  {
    const auto coordinator = opened(path, entries);
    ManagedObjectContext context;
    context.setPersistentStoreCoordinator(coordinator);
    content = contentOf(context);
    insertThing(context, "after the stop");
    expectSaved(context);
    EXPECT_EQ(integrityOf(path), "ok");
  }
  ManagedObjectContext context;
  context.setPersistentStoreCoordinator(opened(path, entries));
  EXPECT_EQ(contentOf(context).size(), content.size() + 1);
  return content;
}

void makePagesSmall(TestStore& store) {
  store.close();
  sqlite3* database = nullptr;
  ASSERT_EQ(sqlite3_open(store.path().c_str(), &database), SQLITE_OK);
  EXPECT_EQ(sqlite3_exec(database,
                         "PRAGMA journal_mode=DELETE; PRAGMA page_size=512; VACUUM; "
                         "PRAGMA journal_mode=WAL",
                         nullptr, nullptr, nullptr),
            SQLITE_OK)
      << sqlite3_errmsg(database);
  EXPECT_EQ(sqlite3_close(database), SQLITE_OK);
  store.open();
}

}  // namespace velto
