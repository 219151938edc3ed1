// SPDX-License-Identifier: Apache-2.0
#include "platform/propertylist/PropertyListXMLText.h"

#include <charconv>
#include <cstdint>

#include "platform/foundation/UTF8.h"

namespace velto::xml_property_list {

namespace {

/// `reference` is what stands between "&#" and ";".
bool appendCharacterNumber(std::string& text, std::string_view reference) {
  const bool hexadecimal = reference.starts_with('x');
  if (hexadecimal) reference.remove_prefix(1);
  std::uint32_t number = 0;
  const char* end = reference.data() + reference.size();
  const auto [behind, problem] =
      std::from_chars(reference.data(), end, number, hexadecimal ? 16 : 10);
  return problem == std::errc() && behind == end && number != 0 && appendUTF8(text, number);
}

/// `name` is what stands between "&" and ";".
bool appendReference(std::string& text, std::string_view name) {
  if (name.starts_with('#')) return appendCharacterNumber(text, name.substr(1));
  if (name == "amp") {
    text += '&';
  } else if (name == "lt") {
    text += '<';
  } else if (name == "gt") {
    text += '>';
  } else if (name == "quot") {
    text += '"';
  } else if (name == "apos") {
    text += '\'';
  } else {
    return false;
  }
  return true;
}

}  // namespace

bool appendXMLText(std::string& text, std::string_view escaped) {
  while (true) {
    const std::size_t start = escaped.find('&');
    text += escaped.substr(0, start);
    if (start == std::string_view::npos) return true;
    const std::size_t end = escaped.find(';', start);
    if (end == std::string_view::npos) return false;
    if (!appendReference(text, escaped.substr(start + 1, end - start - 1))) return false;
    escaped.remove_prefix(end + 1);
  }
}

}  // namespace velto::xml_property_list
