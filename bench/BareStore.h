// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>

#include <sqlite3.h>

#include "alerts/VLAlert.h"

namespace velto::bench {

/// What SQLite itself costs: a connection of its own to a store file, with prepared statements for
/// the one table, and nothing around them. Ends the program when SQLite fails.
class BareStore {
 public:
  explicit BareStore(const std::string& path);
  ~BareStore();
  BareStore(const BareStore&) = delete;
  BareStore& operator=(const BareStore&) = delete;

  /// One transaction, on disk when it returns. The attributes are written as `encodedAttributes`.
  void insert(const VLAlert& alert, const std::string& encodedAttributes);
  /// Reads and copies all columns of the alert; gives how many bytes that were, or 0.
  std::size_t readByIdentifier(const std::string& identifier);
  /// Does so for each alert of the type, newest first; gives how many alerts that were.
  std::size_t readOfType(const std::string& type);

 private:
  sqlite3_stmt* prepared(const std::string& sql);

  sqlite3* database_ = nullptr;
  sqlite3_stmt* insert_ = nullptr;
  sqlite3_stmt* byIdentifier_ = nullptr;
  sqlite3_stmt* ofType_ = nullptr;
};

}  // namespace velto::bench
