// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>

#include <boost/json/value.hpp>

namespace velto {

// Both are fit for a terminal (printableJSON).

/// The text of a JSON value for people: one member or element a line, two spaces a level.
/// What stands behind its first line is indented by `level` levels more.
std::string prettyJSON(const boost::json::value& value, std::size_t level = 0);

/// The same in one line without blanks.
std::string shortJSON(const boost::json::value& value);

}  // namespace velto
