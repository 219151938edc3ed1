// SPDX-License-Identifier: Apache-2.0
#include "platform/persistence/sqlite/LogCheckpoints.h"

#include <algorithm>
#include <cstdint>

#include "platform/persistence/sqlite/SQLiteConnection.h"
#include "platform/persistence/sqlite/WriteAheadLog.h"

namespace velto {
namespace {

/// In bytes, just below 16 MB.
constexpr std::int64_t kLargeLog = 15'700'000;
/// SQLite's largest.
constexpr std::int64_t kLargestPage = 65536;

int pagesOfLargeLog(SQLiteConnection& connection) {
  return static_cast<int>(kLargeLog /
                          connection.integer("PRAGMA page_size").value_or(kLargestPage));
}

}  // namespace

LogCheckpoints::LogCheckpoints(SQLiteConnection& connection)
    : connection_(connection),
      largeLog_(pagesOfLargeLog(connection)),
      isLeft_(!isLogEmpty(connection)) {}

bool LogCheckpoints::copyLongLog() {
  const int pages = connection_.logPages();
  mostPages_ = std::max(mostPages_, pages);
  if (pages < next_) return true;
  const auto rest = connection_.checkpoint();
  next_ = rest.value_or(0) == 0 ? kLongLog : pages + kStep;
  return rest.has_value();
}

bool LogCheckpoints::empty() {
  const auto emptied = connection_.emptyLog();
  if (emptied != SQLiteConnection::Emptied::kYes) {
    return emptied == SQLiteConnection::Emptied::kHeldBack;
  }
  isLeft_ = false;
  next_ = kLongLog;
  mostPages_ = 0;
  return true;
}

}  // namespace velto
