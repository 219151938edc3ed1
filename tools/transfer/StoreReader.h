// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <memory>
#include <string>

struct sqlite3;

namespace velto {

/// Reads the store's file beside the daemon, or without one. Throws a Failure that names the file
/// when it cannot be opened. One thread.
class StoreReader {
 public:
  /// The store of this machine.
  static std::string path();

  explicit StoreReader(const std::string& path);

  /// Gives `take` the first column of each row, as text, until it returns false. Throws a Failure
  /// with SQLite's words when the statement fails. `argument` is bound to the first parameter.
  void forEachRow(const std::string& sql, const std::function<bool(const std::string&)>& take,
                  const std::string& argument = {});
  /// The first row's.
  std::string value(const std::string& sql);

 private:
  [[noreturn]] void fail() const;

  const std::string path_;
  std::unique_ptr<sqlite3, int (*)(sqlite3*)> database_;
};

}  // namespace velto
