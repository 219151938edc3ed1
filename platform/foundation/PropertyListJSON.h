#pragma once

#include <optional>

#include <boost/json/value.hpp>

#include "platform/foundation/PropertyList.h"

namespace velto {

// The JSON in which property-list values leave the process: to clients, and to recovery actions.

/// Plain JSON for strings, integers, reals, booleans, arrays and dictionaries; {"$date": seconds}
/// and {"$data": base64} for the two kinds that JSON lacks; {"$dict": {...}} for a dictionary that
/// itself has a key beginning with "$". An absent value, in a dictionary only, is null or
/// {"$absent": true}.
std::optional<PropertyList> propertyListFromJSON(const boost::json::value& json);
boost::json::value jsonFromPropertyList(const PropertyList& value);

}  // namespace velto
