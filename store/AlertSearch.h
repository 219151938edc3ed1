// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "alerts/AlertListing.h"
#include "platform/persistence/search/RowSearch.h"

namespace velto {

/// The filter as a search for rows of alerts: with the conditions that indexes have in the order of
/// the sent date, and with a test that looks at the columns as they lie in the store. `filter` is
/// used as long as the search and its tests.
RowSearch searchFor(const AlertFilter& filter);

}  // namespace velto
