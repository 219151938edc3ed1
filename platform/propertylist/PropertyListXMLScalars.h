// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string_view>

#include "platform/foundation/PropertyList.h"

namespace velto::xml_property_list {

// The scalars of the XML form, from the text of their elements. White space around a scalar does
// not count. Each returns nothing for any other text. Any thread.

/// Decimal or, after "0x", hexadecimal, with an optional sign: what fits 64 bits, signed or not.
std::optional<PropertyList> parseInteger(std::string_view text);

/// Also "nan", "inf" and "infinity" in any case.
std::optional<double> parseReal(std::string_view text);

/// YYYY-MM-DDThh:mm:ssZ.
std::optional<Date> parseDate(std::string_view text);

/// Base64 with padding and with white space anywhere.
std::optional<Data> parseBase64(std::string_view text);

/// Without the white space at both ends.
std::string_view trimmed(std::string_view text);

}  // namespace velto::xml_property_list
