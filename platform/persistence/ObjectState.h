// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <vector>

#include "platform/persistence/AttributeValue.h"

namespace velto {

class EntityObjects;

/// One record in a context. Lives as long as the context, since handles point to it. Used on the
/// context's thread only.
struct ObjectState {
  enum class Condition {
    kUnchanged,  ///< as it was read from the file
    kInserted,   ///< pending; not in the file yet
    kUpdated,    ///< pending; other values than those read
    kDeleted,    ///< pending; still in the file
    kGone,       ///< deleted from the file, or forgotten before it came there
  };

  EntityObjects& objects;
  Condition condition;
  /// Orders records by insertion. A pending insert has a provisional one above all of the file.
  std::int64_t rowId;
  /// The row's version when it was read.
  std::int64_t version;
  /// After which of the context's saves it was read.
  std::uint64_t save;
  /// In declaration order. Where no model says how many, as many as were set.
  std::vector<AttributeValue> values;
  /// Its place among those with pending changes.
  std::uint64_t pendingPlace = 0;
};

}  // namespace velto
