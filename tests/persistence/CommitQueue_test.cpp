// SPDX-License-Identifier: Apache-2.0
#include "platform/persistence/saving/CommitQueue.h"

#include <algorithm>
#include <atomic>
#include <functional>
#include <future>
#include <iterator>
#include <list>
#include <set>
#include <thread>

#include <gmock/gmock.h>
#include <sqlite3.h>

#include "platform/persistence/PersistentStoreCoordinator.h"
#include "tests/persistence/OpenStore.h"
#include "tests/persistence/TestStore.h"

namespace velto {
namespace {

using ::testing::ElementsAreArray;
using ::testing::UnorderedElementsAre;

/// Keeps the names of the rows that commits have added.
class AddedNames : public CommitObserver {
 public:
  bool wantsRows() noexcept override { return true; }
  void noteCommit(std::uint64_t, std::span<const ChangedRow> rows) noexcept override {
    for (const ChangedRow& row : rows) {
      if (row.kind == ChangedRow::Kind::kInserted) {
        names.push_back(std::get<std::string>(row.after->front()));
      }
    }
  }

  std::vector<std::string> names;
};

/// The first save holds its commit back, on a thread of its own, until all the others wait, so that
/// these are committed together.
class CommitQueueTest : public ::testing::Test {
 protected:
  struct Save {
    std::vector<AttributeValue> values;
    std::vector<RowChange> changes;
    std::promise<std::optional<Error>> result;
    bool succeeded = false;
    std::optional<Error> error;
  };

  CommitQueueTest() { sqlite3_commit_hook(store_.writer().handle(), onCommit, this); }

  /// From now on no row of the name "bad" can be inserted.
  void refuseBadThings() {
    sqlite3_commit_hook(store_.writer().handle(), nullptr, nullptr);
    EXPECT_TRUE(store_.writer().execute(
        "CREATE TRIGGER noBadThings BEFORE INSERT ON Thing WHEN new.name = 'bad' "
        "BEGIN SELECT RAISE(ABORT, 'bad'); END"));
    sqlite3_commit_hook(store_.writer().handle(), onCommit, this);
  }

  Save& addInsert(std::string_view name) {
    Save& save = saves_.emplace_back();
    save.values = {std::string(name), {}, {}, {}};
    save.changes = {{RowChange::Kind::kInsert, &sql_, 0, 0, &save.values}};
    return save;
  }

  Save& addUpdate(std::int64_t rowId, std::int64_t version, std::string_view name) {
    Save& save = addInsert(name);
    save.changes = {{RowChange::Kind::kUpdate, &sql_, rowId, version, &save.values}};
    return save;
  }

  void start(Save& save) {
    queue_.save(save.changes,
                [&save](std::optional<Error> error) { save.result.set_value(std::move(error)); });
  }

  static void waitFor(Save& save) {
    save.error = save.result.get_future().get();
    save.succeeded = !save.error;
  }

  bool saves(Save& save) {
    start(save);
    waitFor(save);
    return save.succeeded;
  }

  /// Runs all saves, in order.
  void run() {
    std::thread first([this] { start(saves_.front()); });
    while (!committing_) {
      std::this_thread::yield();
    }
    std::for_each(std::next(saves_.begin()), saves_.end(), [this](Save& save) { start(save); });
    EXPECT_EQ(queue_.waiting(), saves_.size() - 1);
    released_ = true;
    first.join();
    std::for_each(saves_.begin(), saves_.end(), waitFor);
  }

  std::vector<std::string> savedNames() {
    std::vector<std::string> names;
    const auto reader = store_.reader();
    Statement statement = reader->statement("SELECT name FROM Thing ORDER BY _id");
    while (statement.step() == Statement::Step::kRow) {
      names.push_back(std::get<std::string>(statement.value(0, AttributeType::kString)));
    }
    return names;
  }

  const OpenStore store_{thingModel()};
  const EntitySql sql_{*store_.model().entity(kThing)};
  AddedNames added_;
  CommitQueue queue_{store_.writer(), &added_};
  std::list<Save> saves_;
  /// Called within each commit with its number; what is not 0 makes it fail.
  std::function<int(int)> duringCommit_ = [](int) { return 0; };
  std::atomic<int> commits_ = 0;

 private:
  static int onCommit(void* context) {
    auto& test = *static_cast<CommitQueueTest*>(context);
    test.committing_ = true;
    while (!test.released_) {
      std::this_thread::yield();
    }
    return test.duringCommit_(++test.commits_);
  }

  std::atomic<bool> committing_ = false;
  std::atomic<bool> released_ = false;
};

TEST_F(CommitQueueTest, WaitingSavesShareOneCommit) {
  for (int index = 0; index < 16; ++index) {
    addInsert(std::to_string(index));
  }
  run();
  EXPECT_EQ(commits_, 2);
  std::set<std::int64_t> rowIds;
  for (const Save& save : saves_) {
    EXPECT_TRUE(save.succeeded);
    EXPECT_EQ(save.changes[0].version, 1);
    rowIds.insert(save.changes[0].rowId);
  }
  EXPECT_EQ(rowIds.size(), 16U);
  EXPECT_EQ(savedNames().size(), 16U);
}

TEST_F(CommitQueueTest, EachSaveIsToldTheIdOfItsOwnRow) {
  for (int index = 0; index < 3 * static_cast<int>(EntitySql::kMostRowsAnInsert); ++index) {
    addInsert(std::to_string(index));
  }
  run();
  const std::vector<std::string> names = savedNames();
  ASSERT_EQ(names.size(), saves_.size());
  for (const Save& save : saves_) {
    EXPECT_EQ(names.at(static_cast<std::size_t>(save.changes[0].rowId) - 1),
              std::get<std::string>(save.values[0]));
  }
  EXPECT_THAT(added_.names, ElementsAreArray(names));
}

TEST_F(CommitQueueTest, ANewRowThatFailsIsInNobodysWay) {
  refuseBadThings();
  for (const char* name : {"first", "a", "b", "bad", "c", "d"}) {
    addInsert(name);
  }
  run();
  for (const Save& save : saves_) {
    EXPECT_EQ(save.succeeded, std::get<std::string>(save.values[0]) != "bad");
    EXPECT_EQ(save.error.has_value(), !save.succeeded);
  }
  const std::vector<std::string> good{"first", "a", "b", "c", "d"};
  EXPECT_EQ(savedNames(), good);
  EXPECT_EQ(added_.names, good);
}

TEST_F(CommitQueueTest, ASaveOfManyNewRowsIsSavedWholeOrNotAtAll) {
  refuseBadThings();
  addInsert("first");
  Save& good = addInsert("good");
  good.changes.resize(2 * EntitySql::kMostRowsAnInsert + 1, good.changes.front());
  Save& bad = addInsert("bad");
  const std::vector<AttributeValue> fine{std::string("fine"), {}, {}, {}};
  bad.changes.resize(2 * EntitySql::kMostRowsAnInsert, bad.changes.front());
  for (RowChange& change : bad.changes) {
    if (&change != &bad.changes.back()) change.values = &fine;
  }
  run();
  EXPECT_TRUE(good.succeeded);
  EXPECT_FALSE(bad.succeeded);
  std::vector<std::string> names(good.changes.size(), "good");
  names.insert(names.begin(), "first");
  EXPECT_EQ(savedNames(), names);
  EXPECT_EQ(added_.names, names);
  for (std::size_t row = 0; row < good.changes.size(); ++row) {
    EXPECT_EQ(good.changes[row].rowId, static_cast<std::int64_t>(row) + 2);
  }
}

TEST_F(CommitQueueTest, SavesAreAppliedInOrder) {
  addInsert("first");
  const Save& wins = addUpdate(1, 1, "second");
  const Save& loses = addUpdate(1, 1, "third");
  const Save& follows = addUpdate(1, 2, "fourth");
  run();
  EXPECT_TRUE(wins.succeeded);
  EXPECT_FALSE(loses.succeeded);
  ASSERT_TRUE(loses.error.has_value());
  EXPECT_EQ(loses.error->code, kConflictErrorCode);
  EXPECT_TRUE(follows.succeeded);
  EXPECT_EQ(follows.changes[0].version, 3);
  EXPECT_THAT(savedNames(), UnorderedElementsAre("fourth"));
}

TEST_F(CommitQueueTest, ConflictRollsBackItsOwnSaveOnly) {
  addInsert("first");
  addInsert("before");
  Save& conflicting = addInsert("partly");
  conflicting.changes.push_back({RowChange::Kind::kDelete, &sql_, 99, 1, &conflicting.values});
  addInsert("after");
  run();
  EXPECT_EQ(commits_, 2);
  EXPECT_FALSE(conflicting.succeeded);
  EXPECT_EQ(conflicting.error->code, kConflictErrorCode);
  EXPECT_THAT(savedNames(), UnorderedElementsAre("first", "before", "after"));
}

TEST_F(CommitQueueTest, ConflictsAloneCommitNothing) {
  addInsert("first");
  const Save& conflicting = addUpdate(99, 1, "missing");
  run();
  EXPECT_FALSE(conflicting.succeeded);
  EXPECT_EQ(commits_, 1);
}

TEST_F(CommitQueueTest, FailedCommitFailsThemAll) {
  duringCommit_ = [](int commit) { return commit == 2 ? 1 : 0; };
  addInsert("first");
  addInsert("second");
  const Save& conflicting = addUpdate(99, 1, "missing");
  addInsert("third");
  run();
  for (const Save& save : saves_) {
    EXPECT_EQ(save.succeeded, &save == &saves_.front());
  }
  EXPECT_EQ(saves_.back().error->code, SQLITE_CONSTRAINT_COMMITHOOK);
  EXPECT_EQ(conflicting.error->code, kConflictErrorCode);
  EXPECT_THAT(savedNames(), UnorderedElementsAre("first"));

  Save& again = addInsert("again");
  EXPECT_TRUE(saves(again));
  EXPECT_THAT(savedNames(), UnorderedElementsAre("first", "again"));
}

TEST_F(CommitQueueTest, RollbackOfTheWholeTransactionFailsThemAll) {
  addInsert("first");
  addInsert("before");
  Save& large = addInsert("large");
  large.values[2] = Data(std::string(200000, 'x'));
  addInsert("after");
  ASSERT_TRUE(store_.writer().execute("PRAGMA max_page_count=20"));
  run();
  for (const Save& save : saves_) {
    EXPECT_EQ(save.succeeded, &save == &saves_.front());
    EXPECT_EQ(save.error ? save.error->code : 0, save.succeeded ? 0 : SQLITE_FULL);
  }
  EXPECT_THAT(savedNames(), UnorderedElementsAre("first"));
  EXPECT_FALSE(store_.writer().inTransaction());
  EXPECT_TRUE(saves(addInsert("again")));
}

TEST_F(CommitQueueTest, LockOfAnotherProgramFailsThemAll) {
  sqlite3* other = nullptr;
  ASSERT_EQ(sqlite3_open(store_.path().c_str(), &other), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(other, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr), SQLITE_OK);
  sqlite3_busy_timeout(store_.writer().handle(), 0);
  Save& save = addInsert("first");
  EXPECT_FALSE(saves(save));
  EXPECT_EQ(save.error->code, SQLITE_BUSY);
  sqlite3_close(other);
}

}  // namespace
}  // namespace velto
