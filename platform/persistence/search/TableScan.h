// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "platform/foundation/Error.h"
#include "platform/persistence/PersistentStoreCoordinator.h"
#include "platform/persistence/search/RowSearch.h"

namespace velto {

/// Finds the first rows of an order, of those behind a place, by testing all rows of the table: on
/// two threads, if another one can be had, in pieces of the table each of which is as of one
/// moment. In memory there is nothing but what has been found. Used up by one call of `find`, which
/// returns when both threads are done.
class TableScan {
 public:
  /// What is referred to outlives the object.
  TableScan(PersistentStoreCoordinator& coordinator, const RowSearch& search,
            const std::optional<RowPlace>& after, std::size_t limit);

  /// In their order; nothing with the error.
  std::optional<std::vector<RowPlace>> find(ErrorSlot error);

 private:
  struct Result {
    std::vector<RowPlace> places;
    std::optional<Error> error;
  };

  std::optional<std::int64_t> rowIdAt(const char* end, ErrorSlot error);
  Result scanPieces();
  bool scanPiece(std::int64_t firstRowId, const RowTest& test, Result& result);
  void keepIfAfter(std::vector<RowPlace>& places, const RowPlace& place) const;
  void keep(std::vector<RowPlace>& places, const RowPlace& place) const;

  PersistentStoreCoordinator& coordinator_;
  const RowSearch& search_;
  const std::optional<RowPlace>& after_;
  const std::size_t limit_;
  const std::optional<Predicate> condition_;
  std::int64_t firstRowId_ = 0;
  std::int64_t lastRowId_ = 0;
  std::int64_t rowIdsOfPiece_ = 0;
  std::atomic<std::int64_t> nextPiece_ = 0;
};

}  // namespace velto
