// SPDX-License-Identifier: Apache-2.0
#include "platform/persistence/sqlite/SQLiteConnection.h"

#include <filesystem>

#include <gmock/gmock.h>
#include <sqlite3.h>

#include "platform/persistence/PersistenceErrors.h"
#include "tests/persistence/OpenStore.h"
#include "tests/persistence/TestStore.h"

namespace velto {
namespace {

using ::testing::HasSubstr;

constexpr std::string_view kInsert = "INSERT INTO Thing (_version, name) VALUES (1, 'x')";
constexpr std::string_view kCount = "SELECT count(*) FROM Thing";

TEST(SQLiteConnection, MissingFileIsNotCreated) {
  const TemporaryDirectory directory;
  const std::string path = directory.path() / "missing.db";
  std::optional<Error> error;
  EXPECT_EQ(SQLiteConnection::open(path, SQLiteConnection::Role::kWriter, &error), nullptr);
  ASSERT_TRUE(error.has_value());
  EXPECT_EQ(error->domain, kPersistenceErrorDomain);
  EXPECT_EQ(error->code & 0xff, SQLITE_CANTOPEN);
  EXPECT_THAT(error->localizedDescription(), HasSubstr(path));
  EXPECT_FALSE(std::filesystem::exists(path));
}

TEST(SQLiteConnection, ErrorsNameTheFileAndTheReason) {
  const OpenStore store(thingModel());
  EXPECT_FALSE(store.writer().execute("SELECT missing FROM Thing"));
  const Error error = store.writer().lastError();
  EXPECT_EQ(error.code, SQLITE_ERROR);
  EXPECT_THAT(error.localizedDescription(), HasSubstr(store.path()));
  EXPECT_THAT(error.localizedDescription(), HasSubstr("no such column: missing"));
}

TEST(SQLiteConnection, WriterSyncsEachCommit) {
  const OpenStore store(thingModel());
  EXPECT_EQ(store.writer().integer("PRAGMA synchronous"), 2);
}

TEST(SQLiteConnection, WriterCheckpointsWhenItIsTold) {
  const OpenStore store(thingModel());
  SQLiteConnection& writer = store.writer();
  ASSERT_TRUE(writer.execute("INSERT INTO Thing (_version, data) VALUES (1, zeroblob(5000000))"));
  EXPECT_GT(writer.logPages(), 1200);
  EXPECT_LT(std::filesystem::file_size(store.path()), 100000U);
  EXPECT_TRUE(writer.checkpoint());
  EXPECT_GT(std::filesystem::file_size(store.path()), 5000000U);
  ASSERT_TRUE(writer.execute(kInsert));
  EXPECT_LT(writer.logPages(), 10) << "the log begins anew";
}

TEST(SQLiteConnection, ReadOnlyWriterDoesNeitherWriteNorCheckpoint) {
  OpenStore store(thingModel());
  ASSERT_TRUE(store.writer().execute(kInsert));
  ASSERT_TRUE(store.writer().setReadOnly());
  EXPECT_FALSE(store.writer().execute(kInsert));
  store.closeWriter();
  EXPECT_GT(std::filesystem::file_size(store.path() + "-wal"), 0U);
}

TEST(SQLiteConnection, ReaderCannotWrite) {
  const OpenStore store(thingModel());
  const auto reader = store.reader();
  EXPECT_FALSE(reader->execute(kInsert));
  EXPECT_EQ(reader->lastError().code, SQLITE_READONLY);
  EXPECT_EQ(reader->integer(kCount), 0);
}

TEST(SQLiteConnection, ReaderNeverCheckpoints) {
  OpenStore store(thingModel());
  ASSERT_TRUE(store.writer().execute(kInsert));
  const std::string log = readFile(store.path() + "-wal");
  const std::string file = readFile(store.path());
  auto reader = store.reader();
  EXPECT_EQ(reader->integer("PRAGMA wal_autocheckpoint"), 0);
  EXPECT_EQ(reader->integer(kCount), 1);
  store.writer().execute("PRAGMA wal_autocheckpoint=0");
  sqlite3_db_config(store.writer().handle(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
  store.closeWriter();
  reader.reset();
  EXPECT_EQ(readFile(store.path() + "-wal"), log);
  EXPECT_EQ(readFile(store.path()), file);
}

TEST(SQLiteConnection, WriterCheckpointsOnClosing) {
  OpenStore store(thingModel());
  ASSERT_TRUE(store.writer().execute(kInsert));
  EXPECT_TRUE(std::filesystem::exists(store.path() + "-wal"));
  store.closeWriter();
  EXPECT_FALSE(std::filesystem::exists(store.path() + "-wal"));
  EXPECT_EQ(store.reader()->integer(kCount), 1);
}

TEST(SQLiteConnection, DroppedStatementHoldsNoTransaction) {
  const OpenStore store(thingModel());
  ASSERT_TRUE(store.writer().execute(kInsert));
  ASSERT_TRUE(store.writer().execute(kInsert));
  const auto reader = store.reader();
  {
    Statement statement = reader->statement("SELECT _id FROM Thing");
    EXPECT_EQ(statement.step(), Statement::Step::kRow);
    EXPECT_EQ(sqlite3_txn_state(reader->handle(), nullptr), SQLITE_TXN_READ);
  }
  EXPECT_EQ(sqlite3_txn_state(reader->handle(), nullptr), SQLITE_TXN_NONE);
}

TEST(SQLiteConnection, StatementIsPreparedOnceAndForgetsItsValues) {
  const OpenStore store(thingModel());
  constexpr std::string_view kSelect = "SELECT ?";
  {
    Statement statement = store.writer().statement(kSelect);
    statement.bind(std::int64_t{7});
    ASSERT_EQ(statement.step(), Statement::Step::kRow);
    EXPECT_EQ(statement.integer(0), 7);
  }
  sqlite3_stmt* const prepared = sqlite3_next_stmt(store.writer().handle(), nullptr);
  Statement statement = store.writer().statement(kSelect);
  EXPECT_EQ(sqlite3_next_stmt(store.writer().handle(), nullptr), prepared);
  ASSERT_EQ(statement.step(), Statement::Step::kRow);
  EXPECT_EQ(statement.value(0, AttributeType::kString), AttributeValue());
}

TEST(SQLiteConnection, TooLongAValueIsAnError) {
  const OpenStore store(thingModel());
  sqlite3_limit(store.writer().handle(), SQLITE_LIMIT_LENGTH, 100);
  Statement statement = store.writer().statement("SELECT ?, ?");
  statement.bind(AttributeValue(std::string(101, 'x')));
  statement.bind(std::int64_t{1});
  EXPECT_EQ(statement.step(), Statement::Step::kError);
  EXPECT_EQ(store.writer().lastError().code, SQLITE_TOOBIG);
}

TEST(SQLiteConnection, SchemaChangedByAnotherConnectionIsFollowed) {
  const OpenStore store(thingModel());
  const auto reader = store.reader();
  EXPECT_EQ(reader->integer(kCount), 0);
  ASSERT_TRUE(store.writer().execute("CREATE TABLE Extra (x)"));
  ASSERT_TRUE(store.writer().execute(kInsert));
  EXPECT_EQ(reader->integer(kCount), 1);
}

}  // namespace
}  // namespace velto
