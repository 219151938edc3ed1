// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "platform/foundation/Error.h"
#include "platform/persistence/PersistentStoreCoordinator.h"
#include "platform/persistence/search/RowSearch.h"

namespace velto {

/// Finds the rows of one page of a list: the first `limit` (at least one) of those that are wanted
/// and come after a place. Sees what is committed. What is committed while it is at work may show
/// or not, but no row that nobody touches is missed.
///
/// Nothing with the error. Any thread.
std::optional<std::vector<RowPlace>> findPage(PersistentStoreCoordinator& coordinator,
                                              const RowSearch& search,
                                              const std::optional<RowPlace>& after,
                                              std::size_t limit, ErrorSlot error);

}  // namespace velto
