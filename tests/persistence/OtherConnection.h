// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include <gtest/gtest.h>
#include <sqlite3.h>

namespace velto {

/// Another program that has the store's file open, to read from it. It never checkpoints.
class OtherConnection {
 public:
  explicit OtherConnection(const std::string& path) {
    EXPECT_EQ(sqlite3_open(path.c_str(), &database_), SQLITE_OK);
    sqlite3_db_config(database_, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
    execute("SELECT name FROM Thing");
  }
  ~OtherConnection() { sqlite3_close(database_); }
  OtherConnection(const OtherConnection&) = delete;
  OtherConnection& operator=(const OtherConnection&) = delete;

  /// From now on it sees what there is now.
  void read() { execute("BEGIN; SELECT name FROM Thing"); }
  void stop() { execute("COMMIT"); }

 private:
  void execute(const char* sql) {
    EXPECT_EQ(sqlite3_exec(database_, sql, nullptr, nullptr, nullptr), SQLITE_OK);
  }

  sqlite3* database_ = nullptr;
};

}  // namespace velto
