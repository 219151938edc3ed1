// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string_view>

#include "platform/foundation/Error.h"
#include "platform/foundation/PropertyList.h"

namespace velto {

/// Reads the XML form. `text` is UTF-8. Entities are never expanded but for the five of XML itself;
/// a document that declares some is an error. Stateless; any thread.
std::optional<PropertyList> readXMLPropertyList(std::string_view text, ErrorSlot error);

}  // namespace velto
