// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/foundation/Error.h"
#include "platform/foundation/PropertyList.h"

namespace velto {

/// A value as people read it: strings and integers as they are, reals in the fewest digits that
/// give the same number, "yes" or "no", dates as "2026-11-20 21:00:00 UTC", data in hexadecimal,
/// "first, second" for an array and "key: value, key: value" for a dictionary. Nothing for an
/// absent value, and for a date whose year has no four digits. Any thread.
std::string readableText(const PropertyList& value);

/// What a strings file holds: texts, and other values, by key. Nothing, with an error, when it is
/// not a property list, or its value is not a dictionary. Any thread.
std::optional<PropertyList::Dictionary> textsInStringsFile(std::string_view bytes, ErrorSlot error);

/// The pattern with the text of the attribute `name` for "%{name}", nothing for an attribute that
/// is missing, and "%" for "%%". Any other "%" stands for itself. What is put in is not looked at
/// again. Any thread.
std::string expandedText(std::string_view pattern, const PropertyList::Dictionary& attributes);

}  // namespace velto
