// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

#include <boost/json/storage_ptr.hpp>
#include <boost/json/value.hpp>

#include "platform/json/JSONSyntax.h"

namespace velto {

/// Reads the text of one JSON value. Strict: nothing for text that is not JSON to its end, not
/// UTF-8, nested more deeply than `maximumDepth`, or holding a number beyond a double's range.
/// Numbers with a fraction are the doubles nearest to what is written, so that a value survives any
/// number of round trips. Of several members of one name the last counts. Any thread.
///
/// Throws std::bad_alloc when `storage` has no memory left.
std::optional<boost::json::value> readJSON(std::string_view text,
                                           boost::json::storage_ptr storage = {},
                                           std::size_t maximumDepth = kMaximumJSONDepth);

}  // namespace velto
