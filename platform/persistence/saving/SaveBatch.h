// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <optional>
#include <span>
#include <vector>

#include "platform/foundation/Error.h"
#include "platform/foundation/SerialQueue.h"
#include "platform/persistence/CommitObserver.h"
#include "platform/persistence/saving/RowWriter.h"
#include "platform/persistence/sqlite/LogIndex.h"

namespace velto {

/// All changes of a save, of which all are made or none, and whom to tell.
struct Save {
  std::vector<RowChange>* changes;
  ErrorReply completion;
  std::optional<Error> error = {};
};

/// Saves that are committed together.
struct SaveBatch {
  std::vector<Save> saves = {};
  std::vector<ChangedRow> rows = {};  ///< that they have changed, where it is wanted
  bool isUnsynced = false;            ///< committed, but not synced
  LogIndexHeader before = {};         ///< the unsynced commit
};

/// Leaves the batch to a queue, for this work. False, and it stays, when there is no memory for it.
bool handOver(SerialQueue& queue, SaveBatch& batch, const std::function<void(SaveBatch&)>& work);

/// Fails those that have not failed by themselves.
void fail(std::span<Save> saves, const Error& failure);

/// Tells each how it has ended.
void tell(std::span<Save> saves);

}  // namespace velto
