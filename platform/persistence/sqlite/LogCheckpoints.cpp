// SPDX-License-Identifier: Apache-2.0
#include "platform/persistence/sqlite/LogCheckpoints.h"

#include <algorithm>

#include "platform/persistence/sqlite/SQLiteConnection.h"
#include "platform/persistence/sqlite/WriteAheadLog.h"

namespace velto {

LogCheckpoints::LogCheckpoints(SQLiteConnection& connection)
    : connection_(connection), isLeft_(!isLogEmpty(connection)) {}

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
