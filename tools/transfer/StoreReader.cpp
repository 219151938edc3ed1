// SPDX-License-Identifier: Apache-2.0
#include "tools/transfer/StoreReader.h"

#include <cerrno>
#include <system_error>
#include <unistd.h>

#include <sqlite3.h>

#include "platform/foundation/Paths.h"
#include "tools/frame/Failure.h"
#include "tools/text/Message.h"
#include "tools/text/Printable.h"

namespace velto {
namespace {

constexpr int kPatience = 10'000;  // milliseconds

void requireReadable(const std::string& path) {
  if (access(path.c_str(), R_OK) == 0) return;
  const int code = errno;
  const std::string what =
      say("cannot read {}: {}", printable(path), std::system_category().message(code));
  if (code == EACCES) {
    throw Failure{.status = kExitNotPermitted, .what = what, .advice = tr("try it with sudo")};
  }
  const bool isDaemons = path == StoreReader::path();
  throw Failure{.what = what,
                .advice = isDaemons ? tr("the daemon makes it at its first start") : ""};
}

}  // namespace

std::string StoreReader::path() {
  return rootedPath("/Library/Velto/Alerts/alertData.db");
}

StoreReader::StoreReader(const std::string& path) : path_(path), database_(nullptr, sqlite3_close) {
  requireReadable(path_);
  sqlite3* database = nullptr;
  const int code = sqlite3_open_v2(path_.c_str(), &database, SQLITE_OPEN_READONLY, nullptr);
  database_.reset(database);
  if (code != SQLITE_OK) fail();
  sqlite3_busy_timeout(database, kPatience);
}

void StoreReader::fail() const {
  throw Failure{.what = say("{}: {}", printable(path_), sqlite3_errmsg(database_.get()))};
}

void StoreReader::forEachRow(const std::string& sql,
                             const std::function<bool(const std::string&)>& take,
                             const std::string& argument) {
  sqlite3_stmt* statement = nullptr;
  if (sqlite3_prepare_v2(database_.get(), sql.c_str(), -1, &statement, nullptr) != SQLITE_OK) {
    fail();
  }
  const std::unique_ptr<sqlite3_stmt, int (*)(sqlite3_stmt*)> owner(statement, sqlite3_finalize);
  if (sqlite3_bind_parameter_count(statement) > 0) {
    sqlite3_bind_text(statement, 1, argument.c_str(), -1, SQLITE_TRANSIENT);
  }
  int code = SQLITE_ROW;
  while ((code = sqlite3_step(statement)) == SQLITE_ROW) {
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement, 0));
    if (!take(text == nullptr ? "" : text)) return;
  }
  if (code != SQLITE_DONE) fail();
}

std::string StoreReader::value(const std::string& sql) {
  std::string value;
  forEachRow(sql, [&value](const std::string& text) {
    value = text;
    return false;
  });
  return value;
}

}  // namespace velto
