// SPDX-License-Identifier: Apache-2.0
#include "platform/persistence/sqlite/GatheredLogWrites.h"

#include <filesystem>
#include <string>

#include <gtest/gtest.h>
#include <sqlite3.h>

#include "tests/persistence/OpenStore.h"
#include "tests/persistence/TestStore.h"
#include "tests/support/InterceptedFiles.h"

namespace velto {
namespace {

constexpr std::string_view kInsert =
    "INSERT INTO Thing (_version, name, data) VALUES (1, 'x', zeroblob(2000))";
constexpr std::string_view kCount = "SELECT count(*) FROM Thing";

/// Counts what goes to the log, and lets its writes fail on demand.
class LogObserver : public FileObserver {
 public:
  Verdict before(const FileCall& call) override {
    const bool isWrite = call.kind == FileCall::Kind::kWrite && call.path.ends_with("-wal");
    if (isWrite) ++writes;
    return {isWrite && isFull ? SQLITE_FULL : SQLITE_OK, 0};
  }

  int writes = 0;
  bool isFull = false;
};

class GatheredLogWritesTest : public ::testing::Test {
 protected:
  GatheredLogWritesTest() : files_(observer_), store_(thingModel()) {}

  bool insert(int times) {
    SQLiteConnection& writer = store_.writer();
    bool isDone = writer.execute("BEGIN IMMEDIATE");
    for (int i = 0; i < times; ++i)
      isDone = isDone && writer.execute(kInsert);
    return isDone && writer.execute("COMMIT");
  }
  std::int64_t countAsAReaderSees() const { return *store_.reader()->integer(kCount); }

  /// The store as the next start finds it when this process is killed now.
  std::int64_t countAfterAKill() const {
    const TemporaryDirectory copies;
    const std::string copy = copies.path() / "store.db";
    std::filesystem::copy(store_.path(), copy);
    std::filesystem::copy(store_.path() + "-wal", copy + "-wal");
    std::optional<Error> error;
    return *SQLiteConnection::open(copy, SQLiteConnection::Role::kReader, &error)->integer(kCount);
  }

  LogObserver observer_;
  const InterceptedFiles files_;
  const OpenStore store_;
};

TEST_F(GatheredLogWritesTest, ACommitIsOneWrite) {
  ASSERT_TRUE(insert(1));
  observer_.writes = 0;
  ASSERT_TRUE(insert(20));
  EXPECT_EQ(observer_.writes, 1);
  EXPECT_EQ(countAsAReaderSees(), 21);
  EXPECT_EQ(countAfterAKill(), 21);
}

TEST_F(GatheredLogWritesTest, ALargeCommitIsWrittenInPiecesThatSQLiteTakes) {
  ASSERT_TRUE(insert(1000));
  EXPECT_GE(observer_.writes, 2'000'000 / 131'072);
  EXPECT_LE(observer_.writes, 40);
  EXPECT_EQ(countAfterAKill(), 1000);
}

TEST_F(GatheredLogWritesTest, PagesThatLeaveTheCacheAreReadBack) {
  ASSERT_TRUE(store_.writer().execute("PRAGMA cache_size=5"));
  SQLiteConnection& writer = store_.writer();
  ASSERT_TRUE(writer.execute("BEGIN IMMEDIATE"));
  for (int i = 0; i < 300; ++i)
    ASSERT_TRUE(writer.execute(kInsert));
  EXPECT_EQ(writer.integer("SELECT sum(length(data)) FROM Thing"), 600'000);
  EXPECT_EQ(countAsAReaderSees(), 0);
  ASSERT_TRUE(writer.execute("COMMIT"));
  EXPECT_EQ(countAfterAKill(), 300);
}

TEST_F(GatheredLogWritesTest, NothingOfACommitThatFailedIsWrittenLater) {
  ASSERT_TRUE(insert(1));
  observer_.isFull = true;
  EXPECT_FALSE(insert(10));
  EXPECT_EQ(store_.writer().lastError().code, SQLITE_FULL);
  store_.writer().rollBack();
  observer_.isFull = false;
  EXPECT_EQ(store_.writer().integer(kCount), 1);
  EXPECT_EQ(countAfterAKill(), 1);
  ASSERT_TRUE(insert(2));
  EXPECT_EQ(countAfterAKill(), 3);
}

/// A statement that fails for want of room leaves the transaction to those before and after it.
TEST_F(GatheredLogWritesTest, WhatCameBeforeAFailedWriteIsStillThere) {
  SQLiteConnection& writer = store_.writer();
  ASSERT_TRUE(writer.execute("PRAGMA cache_size=5"));
  ASSERT_TRUE(writer.execute("BEGIN IMMEDIATE"));
  for (int i = 0; i < 30; ++i)
    ASSERT_TRUE(writer.execute(kInsert));
  observer_.isFull = true;
  int inserted = 30;
  while (inserted < 300 && writer.execute(kInsert))
    ++inserted;
  EXPECT_LT(inserted, 300) << "the disk is full";
  observer_.isFull = false;
  if (!writer.inTransaction()) {
    EXPECT_EQ(countAfterAKill(), 0);
    return;
  }
  ASSERT_TRUE(writer.execute("COMMIT"));
  EXPECT_EQ(countAfterAKill(), inserted);
  EXPECT_EQ(store_.reader()->integer("PRAGMA integrity_check"), 0) << "\"ok\" is no number";
}

}  // namespace
}  // namespace velto
