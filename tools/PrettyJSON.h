// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include <boost/json/value.hpp>

namespace velto {

/// The text of a JSON value for people: one member or element a line, two spaces a level.
std::string prettyJSON(const boost::json::value& value);

}  // namespace velto
