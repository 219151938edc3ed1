// SPDX-License-Identifier: Apache-2.0
// What is committed and not yet synced: that the next saves do not wait for it, that nobody is told
// of it before, and that nothing is left of it when the sync fails.

#include "platform/persistence/saving/UnsyncedCommits.h"

#include <atomic>
#include <chrono>
#include <future>
#include <list>
#include <thread>

#include <gmock/gmock.h>
#include <sqlite3.h>

#include "platform/persistence/PersistenceErrors.h"
#include "platform/persistence/saving/CommitQueue.h"
#include "tests/persistence/HeldSyncs.h"
#include "tests/persistence/OpenStore.h"
#include "tests/persistence/TestStore.h"

namespace velto {
namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::UnorderedElementsAre;

TEST(UnsyncedCommits, AreWaitedForByWhoMaySeeThem) {
  UnsyncedCommits commits;
  EXPECT_TRUE(commits.wait(commits.losses()));
  commits.begin();
  commits.begin();
  auto reading = std::async(std::launch::async, [&] { return commits.wait(commits.losses()); });
  commits.noteSynced();
  commits.noteSynced();
  EXPECT_TRUE(reading.get());
}

TEST(UnsyncedCommits, AreReadAnewWhenTheyWereTakenBack) {
  UnsyncedCommits commits;
  commits.begin();
  commits.noteSynced();
  const std::uint64_t losses = commits.losses();
  commits.begin();
  auto waiting = std::async(std::launch::async, [&] { return commits.wait(losses); });
  commits.dropAll();
  EXPECT_FALSE(waiting.get());
  EXPECT_FALSE(commits.wait(losses))
      << "it may have begun before, though there is nothing to wait for";
  EXPECT_TRUE(commits.wait(commits.losses()));
}

TEST(UnsyncedCommits, ThatWereNoneHoldUpNobody) {
  UnsyncedCommits commits;
  commits.begin();
  commits.drop();
  EXPECT_TRUE(commits.wait(commits.losses()));
}

/// A save waits for its sync, and those after it are a batch, whose sync is left.
class UnsyncedBatch : public ::testing::Test {
 protected:
  struct Save {
    std::vector<AttributeValue> values;
    std::vector<RowChange> changes;
    std::promise<std::optional<Error>> promise = {};
    std::future<std::optional<Error>> result = promise.get_future();

    bool isTold() const {
      return result.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
    }
  };

  UnsyncedBatch() {
    saveFirst();
    syncs_.hold();
    std::thread alone([this] { start("alone"); });
    syncs_.waitFor(1);
    start("second");
    start("third");
    syncs_.allowOne();
    alone.join();
    syncs_.waitFor(2);
  }
  ~UnsyncedBatch() override { syncs_.allowAll(); }

  /// So that the log has its header, which is synced apart.
  void saveFirst() {
    start("first");
    EXPECT_EQ(saves_.front().result.get(), std::nullopt);
    saves_.clear();
  }

  void start(const std::string& name) {
    Save& save = saves_.emplace_back();
    save.values = {name, {}, {}, {}};
    save.changes = {{RowChange::Kind::kInsert, &sql_, 0, 0, &save.values}};
    queue_->save(save.changes,
                 [&save](std::optional<Error> error) { save.promise.set_value(std::move(error)); });
  }

  /// Each save's error, or 0.
  std::vector<int> results() {
    std::vector<int> codes;
    for (Save& save : saves_) {
      const auto error = save.result.get();
      codes.push_back(error ? static_cast<int>(error->code) : 0);
    }
    return codes;
  }

  /// What somebody sees who does not wait for syncs.
  std::vector<std::string> names() const {
    std::vector<std::string> names;
    const auto reader = store_.reader();
    Statement statement = reader->statement("SELECT name FROM Thing ORDER BY _id");
    while (statement.step() == Statement::Step::kRow) {
      names.emplace_back(statement.bytes(0));
    }
    return names;
  }
  void waitUntilThere(std::size_t count) const {
    while (names().size() < count) {
      std::this_thread::yield();
    }
  }
  bool isIntact() const {
    const auto reader = store_.reader();
    Statement statement = reader->statement("PRAGMA integrity_check");
    return statement.step() == Statement::Step::kRow && statement.bytes(0) == "ok";
  }

  HeldSyncs syncs_;
  const InterceptedFiles files_{syncs_};
  OpenStore store_{thingModel()};
  const EntitySql sql_{*store_.model().entity(kThing)};
  std::list<Save> saves_;
  std::optional<CommitQueue> queue_{std::in_place, store_.writer()};
};

TEST_F(UnsyncedBatch, IsToldWhenItIsOnDisk) {
  EXPECT_THAT(names(), ElementsAre("first", "alone", "second", "third"));
  EXPECT_TRUE(saves_.front().isTold());
  EXPECT_FALSE(saves_.back().isTold());
  syncs_.allowAll();
  EXPECT_THAT(results(), ElementsAre(0, 0, 0));
  EXPECT_TRUE(queue_->unsynced().wait(0));
}

TEST_F(UnsyncedBatch, IsFollowedByTheNextOneWhileItSyncs) {
  start("fourth");
  waitUntilThere(5);
  EXPECT_FALSE(saves_.back().isTold());
  // A third one waits, so as not to be smaller than it could be.
  start("fifth");
  EXPECT_EQ(queue_->waiting(), 1U);
  syncs_.allowAll();
  EXPECT_THAT(results(), ElementsAre(0, 0, 0, 0, 0));
  EXPECT_THAT(names(), ElementsAre("first", "alone", "second", "third", "fourth", "fifth"));
}

/// Of those that were told together most are about to come again.
TEST_F(UnsyncedBatch, IsFollowedByHalfAsManyOrWaitedFor) {
  start("fourth");
  waitUntilThere(5);
  for (const char* name : {"fifth", "sixth", "seventh", "eighth"}) {
    start(name);
  }
  syncs_.allowOne();
  waitUntilThere(9);
  syncs_.allowOne();
  syncs_.waitFor(4);
  start("ninth");
  EXPECT_EQ(queue_->waiting(), 1U);
  start("tenth");
  waitUntilThere(11);
  EXPECT_EQ(syncs_.begun(), 4) << "written while the four sync";
  syncs_.allowAll();
  EXPECT_THAT(results(), Each(0));
  EXPECT_EQ(syncs_.begun(), 5) << "for the ninth and the tenth";
}

TEST_F(UnsyncedBatch, IsWaitedForByWhatIsDoneBetweenCommits) {
  std::promise<std::int64_t> isDone;
  std::atomic<bool> isAllowed = false;
  queue_->betweenCommits([&] { isDone.set_value(isAllowed ? queue_->counts().all : 0); });
  isAllowed = true;
  syncs_.allowAll();
  EXPECT_EQ(isDone.get_future().get(), 4);
}

TEST_F(UnsyncedBatch, IsTakenBackBeforeWhatIsDoneBetweenCommits) {
  std::promise<std::vector<std::string>> seen;
  queue_->betweenCommits([&] { seen.set_value(names()); });
  syncs_.allowAll(SQLITE_IOERR_FSYNC);
  EXPECT_THAT(seen.get_future().get(), ElementsAre("first", "alone"));
}

TEST_F(UnsyncedBatch, IsTakenBackWithTheNextOneWhenItsSyncFails) {
  start("fourth");
  waitUntilThere(5);
  const std::uint64_t losses = queue_->unsynced().losses();
  auto lasts = std::async(std::launch::async, [&] { return queue_->unsynced().wait(losses); });
  syncs_.allowAll(SQLITE_IOERR_FSYNC);
  EXPECT_FALSE(lasts.get());
  EXPECT_THAT(names(), ElementsAre("first", "alone")) << "seen by nobody who is told that";
  EXPECT_THAT(results(),
              ElementsAre(0, SQLITE_IOERR_FSYNC, SQLITE_IOERR_FSYNC, SQLITE_IOERR_FSYNC));
  EXPECT_EQ(queue_->counts().failed, 3);
  EXPECT_TRUE(queue_->unsynced().wait(losses + 1));
  EXPECT_TRUE(isIntact());

  syncs_.allowAll();
  start("later");
  const auto refusal = saves_.back().result.get();
  ASSERT_TRUE(refusal.has_value());
  EXPECT_EQ(refusal->code, kUntrustedStoreErrorCode);
  ASSERT_TRUE(queue_->refusal().has_value());
  EXPECT_THAT(queue_->refusal()->localizedDescription(), HasSubstr("a sync has failed"));
  EXPECT_THAT(names(), ElementsAre("first", "alone"));
}

TEST_F(UnsyncedBatch, StaysWhenAnotherProgramHasBuiltOnIt) {
  sqlite3* other = nullptr;  // whose files are not intercepted
  ASSERT_EQ(sqlite3_open_v2(store_.path().c_str(), &other, SQLITE_OPEN_READWRITE, "unix"),
            SQLITE_OK);
  EXPECT_EQ(sqlite3_exec(other, "INSERT INTO Thing (_version, name) VALUES (1, 'other')", nullptr,
                         nullptr, nullptr),
            SQLITE_OK);
  syncs_.allowAll(SQLITE_IOERR_FSYNC);
  EXPECT_THAT(results(), ElementsAre(0, SQLITE_IOERR_FSYNC, SQLITE_IOERR_FSYNC));
  EXPECT_THAT(names(), ElementsAre("first", "alone", "second", "third", "other"));
  EXPECT_TRUE(isIntact());
  sqlite3_close(other);
}

/// The same below a coordinator, with a thing of the batch that is read meanwhile.
class UnsyncedThing : public ::testing::Test {
 protected:
  UnsyncedThing() {
    save("first");
    syncs_.hold();
    std::thread alone([this] { save("alone"); });
    syncs_.waitFor(1);
    insertThing(*context_, "unsynced");
    context_->save(
        [this](auto error) { result_.set_value(error ? static_cast<int>(error->code) : 0); });
    syncs_.allowOne();
    alone.join();
    syncs_.waitFor(2);
    names_ =
        std::async(std::launch::async, [this] { return names(*store_.context(), thingRequest()); });
    rows_ = std::async(std::launch::async, [this] { return existing({1, 2, 3}); });
    syncs_.waitForRead();
  }
  ~UnsyncedThing() override { syncs_.allowAll(); }

  void save(const std::string& name) const {
    const auto context = store_.context();
    insertThing(*context, name);
    expectSaved(*context);
  }

  std::size_t existing(const std::vector<std::int64_t>& rowIds) const {
    std::size_t count = 0;
    const auto take = [&](const Statement&) { return ++count != 0; };
    PersistentStoreCoordinator& coordinator = *store_.coordinator();
    const EntityDescription& thing = *coordinator.model().entity(kThing);
    EXPECT_EQ(coordinator.fetchRows(thing, rowIds, take, nullptr), rowIds.size());
    return count;
  }

  template <typename Result>
  static void expectWaiting(const std::future<Result>& reading) {
    EXPECT_EQ(reading.wait_for(std::chrono::milliseconds(20)), std::future_status::timeout);
  }

  HeldSyncs syncs_;
  const InterceptedFiles files_{syncs_};
  const TestStore store_{files_};
  const std::unique_ptr<ManagedObjectContext> context_ = store_.context();
  std::promise<int> result_;
  std::future<std::vector<std::string>> names_;
  std::future<std::size_t> rows_;
};

TEST_F(UnsyncedThing, IsReadWhenItIsOnDisk) {
  expectWaiting(names_);
  expectWaiting(rows_);
  syncs_.allowAll();
  EXPECT_THAT(names_.get(), UnorderedElementsAre("first", "alone", "unsynced"));
  EXPECT_EQ(rows_.get(), 3U);
  EXPECT_EQ(result_.get_future().get(), 0);
}

TEST_F(UnsyncedThing, IsInNoAnswerWhenItsSyncFails) {
  syncs_.allowAll(SQLITE_IOERR_FSYNC);
  EXPECT_THAT(names_.get(), UnorderedElementsAre("first", "alone"));
  EXPECT_EQ(rows_.get(), 2U);
  EXPECT_EQ(result_.get_future().get(), SQLITE_IOERR_FSYNC);
}

}  // namespace
}  // namespace velto
