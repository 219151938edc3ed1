// SPDX-License-Identifier: Apache-2.0
#include "platform/persistence/sqlite/ReaderPool.h"

#include <utility>

namespace velto {

namespace {

/// Readers beyond these are closed after use.
constexpr std::size_t kMaximumIdle = 8;

}  // namespace

ReaderPool::ReaderPool(std::string path) : path_(std::move(path)) {
  // Giving back must not fail.
  idle_.reserve(kMaximumIdle);
}

ReaderPool::Reader ReaderPool::lend(ErrorSlot error) {
  {
    MutexLock lock(mutex_);
    if (!idle_.empty()) {
      Reader reader(idle_.back().release(), GiveBack{this});
      idle_.pop_back();
      return reader;
    }
  }
  return {SQLiteConnection::open(path_, SQLiteConnection::Role::kReader, error).release(),
          GiveBack{this}};
}

void ReaderPool::giveBack(SQLiteConnection* reader) {
  std::unique_ptr<SQLiteConnection> owned(reader);
  MutexLock lock(mutex_);
  if (idle_.size() < kMaximumIdle) {
    idle_.push_back(std::move(owned));
  }
}

}  // namespace velto
