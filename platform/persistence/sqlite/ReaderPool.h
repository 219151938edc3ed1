// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/foundation/Error.h"
#include "platform/foundation/Mutex.h"
#include "platform/persistence/sqlite/SQLiteConnection.h"

namespace velto {

/// The reading connections to one file: opened when all are in use, kept for the next reader.
/// Any thread; outlives what it lends.
class ReaderPool {
 public:
  struct GiveBack {
    ReaderPool* pool;
    void operator()(SQLiteConnection* reader) const { pool->giveBack(reader); }
  };
  /// A connection in one thread's hands; it goes back to the pool by itself.
  using Reader = std::unique_ptr<SQLiteConnection, GiveBack>;

  explicit ReaderPool(std::string path);
  ReaderPool(const ReaderPool&) = delete;
  ReaderPool& operator=(const ReaderPool&) = delete;

  /// Null with the error when there is none to lend.
  Reader lend(ErrorSlot error);

 private:
  void giveBack(SQLiteConnection* reader);

  const std::string path_;
  Mutex mutex_;
  std::vector<std::unique_ptr<SQLiteConnection>> idle_ VELTO_GUARDED_BY(mutex_);
};

}  // namespace velto
