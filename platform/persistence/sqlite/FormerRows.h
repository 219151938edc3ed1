// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vector>

#include "platform/persistence/AttributeValue.h"

struct sqlite3;

namespace velto {

/// Takes down what rows had before they are updated or deleted, for as long as it lives: the
/// attributes in their order, without data. One of a connection at a time, on its thread.
class FormerRows {
 public:
  explicit FormerRows(sqlite3* database);
  ~FormerRows();
  FormerRows(const FormerRows&) = delete;
  FormerRows& operator=(const FormerRows&) = delete;

  /// In the order in which they were changed. Throws std::bad_alloc when there was no memory to
  /// take one down.
  std::vector<std::vector<AttributeValue>> take();

 private:
  void add() noexcept;

  sqlite3* const database_;
  std::vector<std::vector<AttributeValue>> rows_;
  bool isComplete_ = true;
};

}  // namespace velto
