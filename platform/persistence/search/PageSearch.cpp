// SPDX-License-Identifier: Apache-2.0
// Each condition has an index of its own, and nobody knows how many rows hold all of them. So the
// indexes are tried in turn: a walk along the right one soon has the page, or the end. When none of
// them comes to an end within some thousand rows, what is wanted is rare among very many, and the
// table is gone through as it lies in the file: that reads each page once, while walks along an
// index would look for each row in another place. So a page takes a moment mostly, and never longer
// than to read the table.

#include "platform/persistence/search/PageSearch.h"

#include "platform/persistence/search/IndexWalk.h"
#include "platform/persistence/search/TableScan.h"

namespace velto {

std::optional<std::vector<RowPlace>> findPage(PersistentStoreCoordinator& coordinator,
                                              const RowSearch& search,
                                              const std::optional<RowPlace>& after,
                                              std::size_t limit, ErrorSlot error) {
  std::vector<IndexWalk> walks;
  walks.reserve(search.ways.size() + 1);
  for (const Predicate& way : search.ways) {
    walks.emplace_back(coordinator, search, &way, after, limit);
  }
  if (walks.empty()) {
    walks.emplace_back(coordinator, search, nullptr, after, limit);
  }
  for (const std::size_t rows : search.turns) {
    for (IndexWalk& walk : walks) {
      const IndexWalk::State state = walk.goOn(rows, error);
      if (state != IndexWalk::State::kUnderWay) {
        return state == IndexWalk::State::kDone ? std::optional(walk.takeFound()) : std::nullopt;
      }
    }
  }
  return TableScan(coordinator, search, after, limit).find(error);
}

}  // namespace velto
