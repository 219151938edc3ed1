// SPDX-License-Identifier: Apache-2.0
#include "platform/persistence/FetchCursor.h"

#include <gmock/gmock.h>
#include <sqlite3.h>

#include "platform/persistence/sqlite/SQLiteConnection.h"
#include "tests/persistence/TestStore.h"

namespace velto {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

FetchRequest newestFirst(FetchRequest request) {
  request.setSortDescriptors({{.key = "date", .ascending = false}});
  return request;
}

class FetchCursorTest : public ::testing::Test {
 protected:
  /// Saves things of these dates, named by their numbers.
  void fill(const std::vector<std::optional<double>>& dates) {
    const auto context = store_.context();
    for (std::size_t number = 0; number < dates.size(); ++number) {
      Thing thing = insertThing(*context, std::to_string(number));
      thing.setEnabled(number % 2 == 0);
      thing.setDate(dates[number] ? std::optional(Date(*dates[number])) : std::nullopt);
    }
    expectSaved(*context);
  }

  void remove(std::string_view name) {
    const auto context = store_.context();
    for (const Thing& thing :
         fetchThings(*context, thingRequest("name = %@", {std::string(name)}))) {
      context->deleteObject(thing);
    }
    expectSaved(*context);
  }

  std::unique_ptr<FetchCursor> cursor(const FetchRequest& request) const {
    return std::make_unique<FetchCursor>(store_.coordinator(), request);
  }

  /// The names of the next things, as far as `count`.
  static std::vector<std::string> read(FetchCursor& cursor, std::size_t count) {
    std::vector<std::string> names;
    std::optional<Error> error;
    cursor.read<Thing>(
        [&](const Thing& thing) {
          names.push_back(thing.name().value_or("-"));
          return names.size() < count;
        },
        &error);
    EXPECT_FALSE(error) << error->localizedDescription();
    return names;
  }

  static std::vector<std::string> readAll(FetchCursor& cursor, std::size_t atATime) {
    std::vector<std::string> all;
    while (true) {
      const auto some = read(cursor, atATime);
      if (some.empty()) {
        return all;
      }
      all.insert(all.end(), some.begin(), some.end());
    }
  }

  const TestStore store_;
};

TEST_F(FetchCursorTest, GivesWhatAFetchGivesHoweverManyAtATime) {
  fill({3, 1, std::nullopt, 2, 2, 2, std::nullopt, 5, -1, 2, std::nullopt, 0, 3});
  const FetchRequest requests[] = {
      newestFirst(thingRequest()), newestFirst(thingRequest("enabled = 1")),
      newestFirst(thingRequest("date = nil")),
      newestFirst(thingRequest("date > %@ OR name = %@", {Date(2), std::string("3")})),
      newestFirst(thingRequest("name = %@", {std::string("none")}))};
  const auto context = store_.context();
  for (const FetchRequest& request : requests) {
    const auto expected = names(*context, request);
    for (std::size_t atATime = 1; atATime < 16; ++atATime) {
      EXPECT_EQ(readAll(*cursor(request), atATime), expected) << atATime;
    }
  }
}

TEST_F(FetchCursorTest, GivesAllAttributes) {
  const auto context = store_.context();
  Thing thing = insertThing(*context, "thing", 1.5);
  thing.setData(Data(std::string_view("a\0b", 3)));
  thing.setEnabled(true);
  expectSaved(*context);
  int count = 0;
  const auto all = cursor(newestFirst(thingRequest()));
  EXPECT_TRUE(all->read<Thing>(
      [&](const Thing& read) {
        ++count;
        EXPECT_EQ(read.name(), "thing");
        EXPECT_EQ(read.date(), Date(1.5));
        EXPECT_EQ(read.data(), Data(std::string_view("a\0b", 3)));
        EXPECT_EQ(read.enabled(), true);
        return true;
      },
      nullptr));
  EXPECT_EQ(count, 1);
}

TEST_F(FetchCursorTest, PassesOverWhatIsDeletedMeanwhile) {
  fill({9, 8, 7, 6, 5, 4, 3, 2, 1});
  const auto some = cursor(newestFirst(thingRequest()));
  EXPECT_THAT(read(*some, 1), ElementsAre("0"));
  for (const auto* name : {"0", "1", "2", "3", "5"}) {
    remove(name);
  }
  EXPECT_THAT(read(*some, 1), ElementsAre("4"));
  EXPECT_THAT(readAll(*some, 2), ElementsAre("6", "7", "8"));
}

TEST_F(FetchCursorTest, GivesNothingTwiceWhateverIsInsertedMeanwhile) {
  fill({9, 8, 7, 6});
  const auto all = cursor(newestFirst(thingRequest()));
  EXPECT_THAT(read(*all, 2), ElementsAre("0", "1"));
  const auto context = store_.context();
  insertThing(*context, "newest", 10);
  insertThing(*context, "same as the last, and newer", 8);
  insertThing(*context, "older", 7.5);
  expectSaved(*context);
  EXPECT_THAT(readAll(*all, 1), ElementsAre("older", "2", "3"));
}

TEST_F(FetchCursorTest, GivesWhatHasChangedAsItIs) {
  fill({3, 2, 1});
  const auto all = cursor(newestFirst(thingRequest("name != %@", {std::string("other")})));
  EXPECT_THAT(read(*all, 1), ElementsAre("0"));
  const auto context = store_.context();
  fetchThings(*context, thingRequest("name = %@", {std::string("1")})).front().setName("new");
  fetchThings(*context, thingRequest("name = %@", {std::string("2")})).front().setName("other");
  expectSaved(*context);
  EXPECT_THAT(readAll(*all, 1), ElementsAre("new"));
}

TEST_F(FetchCursorTest, WhoseKeyIsChangedToALaterOneComesAgain) {
  fill({3, 2, 1});
  const auto all = cursor(newestFirst(thingRequest()));
  EXPECT_THAT(read(*all, 1), ElementsAre("0"));
  const auto context = store_.context();
  fetchThings(*context, thingRequest("name = %@", {std::string("0")})).front().setDate(Date(1.5));
  expectSaved(*context);
  EXPECT_THAT(readAll(*all, 1), ElementsAre("1", "0", "2"));
}

TEST_F(FetchCursorTest, KnowsWhetherThereAreMore) {
  fill({3, 2, std::nullopt, std::nullopt});
  for (std::size_t atATime = 1; atATime < 6; ++atATime) {
    const auto all = cursor(newestFirst(thingRequest()));
    std::size_t count = 0;
    while (all->hasNext(nullptr)) {
      count += read(*all, atATime).size();
    }
    EXPECT_EQ(count, 4U) << atATime;
    EXPECT_THAT(read(*all, 1), IsEmpty());
  }
  EXPECT_FALSE(
      cursor(newestFirst(thingRequest("name = %@", {std::string("none")})))->hasNext(nullptr));
}

TEST_F(FetchCursorTest, WithoutAStoreThereIsAnError) {
  FetchCursor none(std::make_shared<PersistentStoreCoordinator>(thingModel()),
                   newestFirst(thingRequest()));
  std::optional<Error> error;
  EXPECT_FALSE(none.read<Thing>([](const Thing&) { return true; }, &error));
  ASSERT_TRUE(error);
  EXPECT_EQ(error->code, kNoStoreErrorCode);
  error.reset();
  EXPECT_FALSE(none.hasNext(&error));
  EXPECT_TRUE(error);
}

TEST_F(FetchCursorTest, GoesOnInTheOrderOfAnIndex) {
  const auto plan = [&](const FetchRequest& request, const AttributeValue& key) {
    const auto connection =
        SQLiteConnection::open(store_.path(), SQLiteConnection::Role::kReader, nullptr);
    const EntityDescription& entity = *store_.coordinator()->model().entity(kThing);
    const FetchPosition after{key, std::int64_t{1}};
    const FetchQuery query(store_.coordinator()->sql(entity).select, request, entity, 0, &after);
    const std::string sql = "EXPLAIN QUERY PLAN " + query.sql;
    sqlite3_stmt* statement = nullptr;
    EXPECT_EQ(sqlite3_prepare_v2(connection->handle(), sql.c_str(), -1, &statement, nullptr),
              SQLITE_OK);
    std::string steps;
    while (sqlite3_step(statement) == SQLITE_ROW) {
      steps.append(reinterpret_cast<const char*>(sqlite3_column_text(statement, 3))).append(";");
    }
    sqlite3_finalize(statement);
    return steps;
  };
  FetchRequest request = newestFirst(thingRequest("name = %@", {std::string("1")}));
  request.setOrder(FetchRequest::Order::kIndexed);
  const auto parts = datedAndUndated(request);
  EXPECT_EQ(plan(parts.at(0).requests.at(0), Date(1)),
            "SEARCH Thing USING INDEX Thing(name,date) (name=? AND date>? AND date<?);");
  EXPECT_EQ(plan(parts.at(1).requests.at(0), AttributeValue()),
            "SEARCH Thing USING INDEX Thing(name,date) (name=? AND date=? AND rowid<?);");
}

TEST_F(FetchCursorTest, GivesWhatSeveralRequestsFindOnceAndInOrder) {
  fill({3, 1, std::nullopt, 2, 2, 2, std::nullopt, 5, -1, 2, std::nullopt, 0, 3});
  const auto context = store_.context();
  const auto expected =
      names(*context, newestFirst(thingRequest("date > %@ OR enabled = 1", {Date(1.5)})));
  for (std::size_t atATime = 1; atATime < 16; ++atATime) {
    FetchCursor both(store_.coordinator(), {{{newestFirst(thingRequest("date > %@", {Date(1.5)})),
                                              newestFirst(thingRequest("enabled = 1"))},
                                             true}});
    EXPECT_EQ(readAll(both, atATime), expected);
  }
}

TEST_F(FetchCursorTest, OtherOrdersAreAMistakeOfTheProgram) {
  EXPECT_DEATH(cursor(thingRequest()), "descending order of one date");
}

}  // namespace
}  // namespace velto
