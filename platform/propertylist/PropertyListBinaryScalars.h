// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "platform/foundation/PropertyList.h"
#include "platform/propertylist/PropertyListBinaryFormat.h"

namespace velto::binary_property_list {

/// How many bytes the number needs, at least one.
std::size_t widthOf(std::uint64_t number);

void appendBigEndian(std::string& output, std::uint64_t number, std::size_t width);

/// The marker of a counted object, with the count behind it where it does not fit.
void appendMarker(std::string& output, Type type, std::uint64_t count);

/// The whole object of a value that is neither a container nor absent. Nothing for a string that is
/// not UTF-8.
std::optional<std::string> encodeScalar(const PropertyList& value);

std::optional<std::string> encodeString(const std::string& value);

}  // namespace velto::binary_property_list
