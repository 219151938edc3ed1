// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "platform/persistence/AttributeValue.h"

namespace velto {

/// A row as a commit has changed it. Values are in the order of the entity's attributes.
struct ChangedRow {
  enum class Kind : std::uint8_t { kInserted, kUpdated, kDeleted };

  Kind kind;
  const std::string* entity;  ///< its name
  /// What the row has now, or null when it was deleted.
  const std::vector<AttributeValue>* after;
  /// What it had; empty when it was inserted. Data is left out, since it may be large.
  std::vector<AttributeValue> before;
};

/// How many saves have ended since the store was opened.
struct SaveCounts {
  std::int64_t all = 0;     ///< but for those that met a conflict, which are made anew
  std::int64_t failed = 0;  ///< of them
};

/// Hears of the commits of a store, in their order, from one thread at a time. The rows of a commit
/// may be asked for while one before it is told.
class CommitObserver {
 public:
  virtual ~CommitObserver() = default;

  /// Whether the rows of the commit that is about to begin are to be told. They cost all who save a
  /// little.
  virtual bool wantsRows() noexcept = 0;
  /// A commit of so many changed rows is on disk, and nobody who saved has been told. `rows` are
  /// all of them, in the order of their changes, when they were wanted, and none else; valid until
  /// this returns. Who has saved waits for it.
  virtual void noteCommit(std::uint64_t count, std::span<const ChangedRow> rows) noexcept = 0;
};

}  // namespace velto
