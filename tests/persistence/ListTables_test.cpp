// SPDX-License-Identifier: Apache-2.0
#include "platform/persistence/sqlite/ListTables.h"

#include <gmock/gmock.h>
#include <sqlite3.h>

#include "tests/persistence/OpenStore.h"
#include "tests/persistence/TestStore.h"

namespace velto {
namespace {

using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

class ListTablesTest : public ::testing::Test {
 protected:
  std::vector<std::string> rows(std::string_view sql, const std::vector<std::string>& list) {
    Statement statement = reader_->statement(sql);
    statement.bind(list);
    std::vector<std::string> rows;
    while (statement.step() == Statement::Step::kRow) {
      rows.push_back(std::get<std::string>(statement.value(0, AttributeType::kString)));
    }
    return rows;
  }

  const OpenStore store_{thingModel()};
  const std::unique_ptr<SQLiteConnection> reader_ = store_.reader();
};

TEST_F(ListTablesTest, RowsAreTheStrings) {
  const std::vector<std::string> list{"b", "", std::string("a\0b", 3), "b"};
  EXPECT_THAT(rows("SELECT value FROM velto_strings(?)", list), ElementsAreArray(list));
  EXPECT_THAT(rows("SELECT value FROM velto_strings(?)", {}), IsEmpty());
}

TEST_F(ListTablesTest, RowIdsCount) {
  EXPECT_THAT(rows("SELECT rowid FROM velto_strings(?)", {"x", "y"}), ElementsAreArray({"0", "1"}));
}

TEST_F(ListTablesTest, WithoutAListThereIsNoPlan) {
  EXPECT_FALSE(reader_->execute("SELECT value FROM velto_strings"));
}

TEST_F(ListTablesTest, WhatIsNoListIsEmpty) {
  EXPECT_EQ(reader_->integer("SELECT count(*) FROM velto_strings('x')"), 0);
}

TEST_F(ListTablesTest, ForgottenAfterUse) {
  constexpr std::string_view kCount = "SELECT count(*) FROM velto_strings(?)";
  EXPECT_THAT(rows(kCount, {"x", "y"}), ElementsAreArray({"2"}));
  EXPECT_EQ(reader_->integer(kCount), 0);
}

TEST_F(ListTablesTest, OfTwoListsEachKeepsItsOwn) {
  const std::vector<std::string> left{"a", "b"};
  const std::vector<std::string> right{"b", "c"};
  Statement statement = reader_->statement(
      "SELECT l.value FROM velto_strings(?) l JOIN velto_strings(?) r ON l.value = r.value");
  statement.bind(left);
  statement.bind(right);
  ASSERT_EQ(statement.step(), Statement::Step::kRow);
  EXPECT_EQ(statement.value(0, AttributeType::kString), AttributeValue(std::string("b")));
  EXPECT_EQ(statement.step(), Statement::Step::kDone);
}

}  // namespace
}  // namespace velto
