// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/foundation/Error.h"
#include "platform/persistence/FetchQuery.h"
#include "platform/persistence/FetchRequest.h"
#include "platform/persistence/PersistentStoreCoordinator.h"
#include "platform/persistence/search/RowSearch.h"

namespace velto {

/// Finds rows in their order by walking along an index and testing each row, some rows at a time.
/// The index is entered at the place where the walk begins, however many rows come before it or
/// have the same date. Between two calls it holds neither a lock nor a snapshot. One thread.
class IndexWalk {
 public:
  enum class State {
    kUnderWay,
    kDone,    ///< as many as wanted are found, or there are no more
    kFailed,  ///< the error says why
  };

  /// Along the index of the way, or of the date without one; all are used as long as the walk.
  /// `after` is the last place that is not wanted any more.
  IndexWalk(PersistentStoreCoordinator& coordinator, const RowSearch& search, const Predicate* way,
            const std::optional<RowPlace>& after, std::size_t limit);

  /// Tests so many more rows; those of a stretch of the list as of one moment.
  State goOn(std::size_t rows, ErrorSlot error);

  std::vector<RowPlace> takeFound() { return std::move(found_); }

 private:
  /// A stretch of the index without a gap.
  struct Stretch {
    FetchRequest request;
    std::optional<FetchPosition> after;
  };

  std::vector<Stretch> stretches() const;
  void addDated(std::vector<Stretch>& stretches) const;
  Stretch stretch(const Predicate& dates, bool isBegun) const;
  State goAlong(const Stretch& stretch, std::size_t& rows, ErrorSlot error);

  PersistentStoreCoordinator& coordinator_;
  const RowSearch& search_;
  const Predicate* const way_;
  const RowTest test_;
  const std::size_t limit_;
  std::optional<RowPlace> last_;  ///< where it has come to
  std::vector<RowPlace> found_;
};

/// The columns of a row that is tested, for a SELECT.
std::string searchColumns(const RowSearch& search);

/// The place of such a row.
RowPlace placeOf(const Statement& row);

}  // namespace velto
