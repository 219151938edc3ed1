// SPDX-License-Identifier: Apache-2.0
// Pages found on several threads, while others save; what is found, and how, is told by the tests
// of the alerts' pages.

#include "platform/persistence/search/PageSearch.h"

#include <atomic>
#include <set>
#include <thread>

#include <gtest/gtest.h>

#include "platform/persistence/sqlite/SQLiteConnection.h"
#include "tests/persistence/TestStore.h"
#include "tests/support/NoMoreThreads.h"

namespace velto {
namespace {

constexpr std::size_t kThings = 500;

/// Those that are enabled, without a walk along an index.
RowSearch enabledThings() {
  return {.entityName = std::string(kThing),
          .key = "date",
          .columns = {"enabled"},
          .turns = {},
          .makeTest = [] {
            return [](const Statement& row) { return row.integer(RowSearch::kFirstColumn) == 1; };
          }};
}

/// Every second one is enabled; dates come back after 100.
void fill(const TestStore& store) {
  const auto context = store.context();
  for (std::size_t number = 0; number < kThings; ++number) {
    insertThing(*context, "kept", static_cast<double>(number % 100)).setEnabled(number % 2 == 0);
  }
  expectSaved(*context);
}

/// As many as `limit` at a time; the first kThings rows alone.
std::vector<std::int64_t> rowIdsOfAllPages(const TestStore& store, std::size_t limit) {
  std::vector<std::int64_t> rowIds;
  std::optional<RowPlace> after;
  std::size_t found = limit;
  while (found == limit) {
    std::optional<Error> error;
    const auto page = findPage(*store.coordinator(), enabledThings(), after, limit, &error);
    EXPECT_TRUE(page) << error->localizedDescription();
    found = page ? page->size() : 0;
    for (std::size_t place = 0; place < found; ++place) {
      after = (*page)[place];
      if (after->rowId <= static_cast<std::int64_t>(kThings)) rowIds.push_back(after->rowId);
    }
  }
  return rowIds;
}

std::vector<std::int64_t> expectedRowIds() {
  std::vector<std::int64_t> rowIds;
  for (int date = 98; date >= 0; date -= 2) {
    for (int round = 4; round >= 0; --round) {
      rowIds.push_back(round * 100 + date + 1);
    }
  }
  return rowIds;
}

TEST(PageSearch, FindsWhatNobodyTouchesWhileOthersSave) {
  const TestStore store;
  fill(store);
  std::atomic<bool> isDone = false;
  std::thread other([&] {
    for (int number = 0; !isDone; ++number) {
      const auto context = store.context();
      insertThing(*context, "passing", number % 100).setEnabled(true);
      expectSaved(*context);
      const auto passing = context->executeFetchRequest<Thing>(
          thingRequest("name = %@", {std::string("passing")}), nullptr);
      for (const Thing& thing : passing.value_or(std::vector<Thing>())) {
        if (number % 3 == 0) context->deleteObject(thing);
      }
      expectSaved(*context);
    }
  });
  std::vector<std::thread> readers;
  for (const std::size_t limit : {7U, 40U, 1000U}) {
    readers.emplace_back([&store, limit] {
      for (int round = 0; round < 5; ++round) {
        EXPECT_EQ(rowIdsOfAllPages(store, limit), expectedRowIds());
      }
    });
  }
  for (std::thread& reader : readers) {
    reader.join();
  }
  isDone = true;
  other.join();
}

TEST(PageSearch, NeedsNoSecondThread) {
  const TestStore store;
  fill(store);
  rowIdsOfAllPages(store, 100);
  const NoMoreThreads none;
  EXPECT_EQ(rowIdsOfAllPages(store, 100), expectedRowIds());
}

TEST(PageSearch, OfAnEmptyTableFindsNothing) {
  const TestStore store;
  EXPECT_TRUE(rowIdsOfAllPages(store, 100).empty());
}

TEST(PageSearch, TellsWhyItCannotRead) {
  PersistentStoreCoordinator none(thingModel());
  for (const std::vector<std::size_t>& turns : {std::vector<std::size_t>{10}, {}}) {
    RowSearch search = enabledThings();
    search.turns = turns;
    std::optional<Error> error;
    EXPECT_FALSE(findPage(none, search, std::nullopt, 10, &error));
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code, kNoStoreErrorCode);
  }
}

}  // namespace
}  // namespace velto
