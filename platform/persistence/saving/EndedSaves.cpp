// SPDX-License-Identifier: Apache-2.0
#include "platform/persistence/saving/EndedSaves.h"

#include <cstdint>

#include "platform/persistence/PersistenceErrors.h"

namespace velto {

namespace {

/// Fills in what the rows have now. Not before they are committed: a save may be tried again.
/// Returns how many they are.
std::int64_t settle(const Save& save) {
  std::int64_t rows = 0;
  for (RowChange& change : *save.changes) {
    ++change.version;
    rows += change.rows();
  }
  return rows;
}

}  // namespace

void EndedSaves::note(std::span<const Save> saves, std::span<const ChangedRow> rows) noexcept {
  std::int64_t changed = 0;
  for (const Save& save : saves) {
    if (!save.error) changed += settle(save);
  }
  if (changed != 0 && observer_ != nullptr) {
    observer_->noteCommit(static_cast<std::uint64_t>(changed), rows);
  }
  const MutexLock lock(mutex_);
  for (const Save& save : saves) {
    if (isConflict(save.error)) continue;
    ++counts_.all;
    if (save.error) ++counts_.failed;
  }
}

void EndedSaves::noteRefusal(const Error* refusal) noexcept {
  const MutexLock lock(mutex_);
  refusal_ = refusal;
}

std::optional<Error> EndedSaves::refusal() const {
  const MutexLock lock(mutex_);
  return refusal_ == nullptr ? std::nullopt : std::optional(*refusal_);
}

SaveCounts EndedSaves::counts() const {
  const MutexLock lock(mutex_);
  return counts_;
}

}  // namespace velto
