// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace velto::xml_property_list {

/// Appends XML character data with its references resolved: XML's own five entities and character
/// numbers. False at any other '&'.
bool appendXMLText(std::string& text, std::string_view escaped);

}  // namespace velto::xml_property_list
