// SPDX-License-Identifier: Apache-2.0
// How large the write-ahead log is, and when its room is given back.

#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <future>
#include <mutex>

#include <gmock/gmock.h>

#include "platform/persistence/saving/CommitQueue.h"
#include "platform/persistence/sqlite/LogCheckpoints.h"
#include "platform/persistence/sqlite/StoreFile.h"
#include "tests/persistence/OpenStore.h"
#include "tests/persistence/OtherConnection.h"
#include "tests/persistence/TestStore.h"
#include "tests/support/InterceptedFiles.h"

namespace velto {
namespace {

namespace fs = std::filesystem;

constexpr std::uintmax_t kMostInQuietTimes = 16'000'000;

std::uintmax_t logSize(const std::string& path) {
  return fs::file_size(path + "-wal");
}

/// Counts how often the log is emptied, or is about to be, and syncs of the file itself.
class Checkpoints : public FileObserver {
 public:
  Verdict before(const FileCall& call) override {
    const std::lock_guard lock(mutex_);
    const bool isLog = call.path.ends_with("-wal");
    if (isLog && call.kind == FileCall::Kind::kTruncate && call.offset == 0) ++emptyings_;
    if (!isLog && call.kind == FileCall::Kind::kSync) ++syncs_;
    hasChanged_.notify_all();
    return {};
  }

  void waitForEmptying() {
    std::unique_lock lock(mutex_);
    hasChanged_.wait(lock, [this] { return emptyings_ != 0; });
  }
  int emptyings() {
    const std::lock_guard lock(mutex_);
    return emptyings_;
  }
  int syncs() {
    const std::lock_guard lock(mutex_);
    return syncs_;
  }

 private:
  std::mutex mutex_;
  std::condition_variable hasChanged_;
  int emptyings_ = 0;
  int syncs_ = 0;
};

class LogCheckpointsTest : public ::testing::Test {
 protected:
  LogCheckpointsTest() : files_(seen_), store_(thingModel()), checkpoints_(store_.writer()) {}

  void write(int bytes) {
    ASSERT_TRUE(store_.writer().execute("INSERT INTO Thing (_version, data) VALUES (1, zeroblob(" +
                                        std::to_string(bytes) + "))"));
  }
  std::uintmax_t fileSize() const { return fs::file_size(store_.path()); }

  Checkpoints seen_;
  const InterceptedFiles files_;
  const OpenStore store_;
  LogCheckpoints checkpoints_;
};

TEST_F(LogCheckpointsTest, ALogOfEveryDayIsCopiedWhenItIsLongAndKeepsItsRoom) {
  write(10'500'000);
  EXPECT_TRUE(checkpoints_.copyLongLog());
  EXPECT_LT(fileSize(), 1'000'000U);
  write(1'000'000);
  EXPECT_TRUE(checkpoints_.copyLongLog());
  EXPECT_GT(fileSize(), 11'000'000U);
  EXPECT_FALSE(checkpoints_.wantsEmptying());
  EXPECT_GT(logSize(store_.path()), 11'000'000U);
}

TEST_F(LogCheckpointsTest, ALargeLogIsEmptied) {
  write(17'000'000);
  EXPECT_TRUE(checkpoints_.copyLongLog());
  EXPECT_TRUE(checkpoints_.wantsEmptying());
  EXPECT_GT(logSize(store_.path()), 17'000'000U);
  EXPECT_TRUE(checkpoints_.empty());
  EXPECT_FALSE(checkpoints_.wantsEmptying());
  EXPECT_EQ(logSize(store_.path()), 0U);
  write(5000);
  EXPECT_EQ(store_.reader()->integer("SELECT sum(length(data)) FROM Thing"), 17'005'000);
}

TEST_F(LogCheckpointsTest, OfMoreThan16MBItIsLarge) {
  write(static_cast<int>(kMostInQuietTimes) - 1'000'000);
  EXPECT_TRUE(checkpoints_.copyLongLog());
  EXPECT_FALSE(checkpoints_.wantsEmptying());
  EXPECT_LT(logSize(store_.path()), kMostInQuietTimes);
  write(static_cast<int>(kMostInQuietTimes));
  EXPECT_TRUE(checkpoints_.copyLongLog());
  EXPECT_TRUE(checkpoints_.wantsEmptying());
}

TEST_F(LogCheckpointsTest, WhoReadsFromALogIsNotWaitedForAndLosesNothing) {
  write(5000);
  OtherConnection reader(store_.path());
  reader.read();
  write(17'000'000);
  EXPECT_TRUE(checkpoints_.copyLongLog());
  const auto begun = std::chrono::steady_clock::now();
  EXPECT_TRUE(checkpoints_.empty());
  EXPECT_LT(std::chrono::steady_clock::now() - begun, std::chrono::seconds(5)) << "SQLite's wait";
  EXPECT_TRUE(checkpoints_.wantsEmptying());
  EXPECT_GT(logSize(store_.path()), 17'000'000U);
  reader.stop();
  EXPECT_TRUE(checkpoints_.empty());
  EXPECT_EQ(logSize(store_.path()), 0U);
}

/// Each copying syncs the log and the file, however little the readers have let go.
TEST_F(LogCheckpointsTest, ALogThatReadersHoldBackIsNotCopiedAfterEachCommit) {
  OtherConnection reader(store_.path());
  reader.read();
  write(8'500'000);
  EXPECT_TRUE(checkpoints_.copyLongLog());
  const int before = seen_.syncs();
  for (int save = 0; save < 100; ++save) {
    reader.stop();
    reader.read();
    write(5000);
    EXPECT_TRUE(checkpoints_.copyLongLog());
  }
  EXPECT_LE(seen_.syncs() - before, 1);
  reader.stop();
  write(3'000'000);
  EXPECT_TRUE(checkpoints_.copyLongLog());
  EXPECT_GT(fileSize(), 11'000'000U);
  write(5000);
  EXPECT_LT(store_.writer().logPages(), 10) << "the log begins anew";
}

/// Until whoever has the turn now has given it up.
void waitForTheTurn(CommitQueue& queue) {
  std::promise<void> isThere;
  queue.betweenCommits([&] { isThere.set_value(); });
  isThere.get_future().wait();
}

/// A queue whose large log is emptied at once.
class LogSizeTest : public ::testing::Test {
 protected:
  LogSizeTest() : files_(seen_), store_(thingModel()) {
    queue_.emplace(store_.writer(), nullptr, std::chrono::milliseconds(0));
  }

  void save(std::size_t bytes) {
    std::vector<AttributeValue> values = {
        std::string("thing"), {}, Data(std::string(bytes, 'x')), {}};
    std::vector<RowChange> changes = {{RowChange::Kind::kInsert, &sql_, 0, 0, &values}};
    std::promise<std::optional<Error>> result;
    queue_->save(changes, [&](auto error) { result.set_value(std::move(error)); });
    EXPECT_FALSE(result.get_future().get().has_value());
  }

  Checkpoints seen_;
  const InterceptedFiles files_;
  const OpenStore store_;
  const EntitySql sql_{*store_.model().entity(kThing)};
  std::optional<CommitQueue> queue_;
};

TEST_F(LogSizeTest, ALargeLogIsEmptiedWhenNobodySaves) {
  save(17'000'000);
  seen_.waitForEmptying();
  waitForTheTurn(*queue_);
  EXPECT_EQ(logSize(store_.path()), 0U);
  save(5000);
  waitForTheTurn(*queue_);
  EXPECT_EQ(seen_.emptyings(), 1) << "what is small stays";
  EXPECT_GT(logSize(store_.path()), 5000U);
  EXPECT_EQ(store_.reader()->integer("SELECT count(*) FROM Thing"), 2);
}

TEST_F(LogSizeTest, ALogThatIsReadIsEmptiedWhenTheReaderHasGone) {
  save(5000);
  OtherConnection reader(store_.path());
  reader.read();
  save(17'000'000);
  save(5000);
  waitForTheTurn(*queue_);
  EXPECT_EQ(seen_.emptyings(), 0);
  reader.stop();
  seen_.waitForEmptying();
  waitForTheTurn(*queue_);
  EXPECT_EQ(logSize(store_.path()), 0U);
}

TEST_F(LogSizeTest, AStopEmptiesItWhateverItsSizeAndWhoeverHasTheFileOpen) {
  const OtherConnection other(store_.path());
  save(5000);
  EXPECT_GT(logSize(store_.path()), 0U);
  queue_.reset();
  EXPECT_EQ(logSize(store_.path()), 0U);
}

TEST(LogSize, WhatAKillHasLeftIsEmptiedAfterTheStart) {
  Checkpoints seen;
  const InterceptedFiles files(seen);
  const TestStore killed;
  const auto context = killed.context();
  insertThing(*context, "thing");
  expectSaved(*context);
  const TemporaryDirectory directory;
  const std::string path = directory.path() / "store.db";
  fs::copy(killed.path(), path);
  fs::copy(killed.path() + "-wal", path + "-wal");
  EXPECT_GT(logSize(path), 0U);

  const auto model = thingModel();
  const std::vector<EntitySql> sql(model->entities().begin(), model->entities().end());
  const auto writer = StoreFile(path, *model, sql, files).open(nullptr);
  ASSERT_NE(writer, nullptr);
  CommitQueue queue(*writer, nullptr, std::chrono::milliseconds(0));
  seen.waitForEmptying();
  waitForTheTurn(queue);
  EXPECT_EQ(logSize(path), 0U);
  EXPECT_EQ(writer->integer("SELECT count(*) FROM Thing WHERE name = 'thing'"), 1);
}

}  // namespace
}  // namespace velto
