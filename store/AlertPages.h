// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "alerts/AlertListing.h"
#include "platform/foundation/Error.h"
#include "platform/persistence/PersistentStoreCoordinator.h"
#include "platform/persistence/search/RowSearch.h"

namespace velto {

/// A place in the order of the lists as a text for those who go through them: 16 hexadecimal digits
/// of the sent date and 16 of the row id. Any thread.
std::string positionText(const RowPlace& place);
/// Nothing for a text that is none of ours.
std::optional<RowPlace> placeFromPosition(std::string_view text);

/// The first alerts of a list behind a place, or from the beginning: newest sent first, those
/// without a sent date last. At most `limit` (at least one), and fewer where they are large.
///
/// It sees what is committed. Pages that are asked for one after the other show an alert that
/// nobody touches meanwhile once, whatever else comes or goes; one that is deleted while a page is
/// read is left out of it, and one that is changed comes as it is then. Nothing with the error. Any
/// thread.
std::optional<AlertPage> listAlerts(const std::shared_ptr<PersistentStoreCoordinator>& coordinator,
                                    const AlertFilter& filter, const std::optional<RowPlace>& after,
                                    std::size_t limit, ErrorSlot error);

}  // namespace velto
