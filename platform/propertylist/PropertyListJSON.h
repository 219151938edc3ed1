// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "platform/foundation/PropertyList.h"
#include "platform/json/JSONSource.h"

namespace velto {

// The JSON in which property-list values leave the process: to clients, and to recovery actions.

/// Plain JSON for strings, integers, reals, booleans, arrays and dictionaries; {"$date": seconds}
/// and {"$data": base64} for the two kinds that JSON lacks; {"$dict": {...}} for a dictionary that
/// itself has a key beginning with "$". A number beyond the finite ones is null. An absent value is
/// read, in a dictionary only, from null or {"$absent": true}, and left out of what is written.
WrongPath decodePropertyList(JSONSource& source, PropertyList& value);
void appendJSON(std::string& text, const PropertyList& value);
void appendJSON(std::string& text, const PropertyList::Dictionary& value);

}  // namespace velto
