// SPDX-License-Identifier: Apache-2.0
#include "platform/persistence/sqlite/LogCheckpoints.h"

#include <algorithm>
#include <cstdint>

#include "platform/persistence/sqlite/SQLiteConnection.h"
#include "platform/persistence/sqlite/WriteAheadLog.h"

namespace velto {
namespace {

/// A longer log would hold up fewer saves, each of them for longer: that depends on its pages.
constexpr int kMostPages = 5400;
// In bytes of pages. All of a log is read at the next start, and a large one is emptied: with all
// that belongs to its pages it has 16 MB.
constexpr std::int64_t kLongLog = 11'100'000;
constexpr std::int64_t kLargeLog = 15'700'000;
/// How much of a long log it grows before it is looked at again, while a reader holds back some of
/// it: that costs as much as there is log.
constexpr int kStepsOfLongLog = 4;
/// SQLite's largest.
constexpr std::int64_t kLargestPage = 65536;

int pagesOf(SQLiteConnection& connection, std::int64_t bytes) {
  return static_cast<int>(bytes / connection.integer("PRAGMA page_size").value_or(kLargestPage));
}

}  // namespace

LogCheckpoints::LogCheckpoints(SQLiteConnection& connection)
    : connection_(connection),
      longLog_(std::min(kMostPages, pagesOf(connection, kLongLog))),
      largeLog_(pagesOf(connection, kLargeLog)),
      isLeft_(!isLogEmpty(connection)) {}

bool LogCheckpoints::copyLongLog() {
  const int pages = connection_.logPages();
  mostPages_ = std::max(mostPages_, pages);
  if (pages < next_) return true;
  const auto rest = connection_.checkpoint();
  next_ = rest.value_or(0) == 0 ? longLog_ : pages + longLog_ / kStepsOfLongLog;
  return rest.has_value();
}

bool LogCheckpoints::empty() {
  const auto emptied = connection_.emptyLog();
  if (emptied != SQLiteConnection::Emptied::kYes) {
    return emptied == SQLiteConnection::Emptied::kHeldBack;
  }
  isLeft_ = false;
  next_ = longLog_;
  mostPages_ = 0;
  return true;
}

}  // namespace velto
