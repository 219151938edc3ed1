// SPDX-License-Identifier: Apache-2.0
#include "platform/propertylist/PropertyListSerialization.h"

#include <algorithm>
#include <string>
#include <string_view>

#include "platform/propertylist/PropertyListBinaryFormat.h"
#include "platform/propertylist/PropertyListBinaryReader.h"
#include "platform/propertylist/PropertyListBinaryWriter.h"
#include "platform/propertylist/PropertyListError.h"
#include "platform/propertylist/PropertyListTextReader.h"
#include "platform/propertylist/PropertyListUnicode.h"
#include "platform/propertylist/PropertyListXMLReader.h"

namespace velto {

namespace {

bool looksLikeXML(std::string_view text) {
  text.remove_prefix(std::min(text.find_first_not_of(" \t\r\n"), text.size()));
  return text.starts_with("<?xml") || text.starts_with("<!DOCTYPE") || text.starts_with("<plist");
}

}  // namespace

std::optional<Data> PropertyListSerialization::binaryData(const PropertyList& value,
                                                          ErrorSlot error) {
  return PropertyListBinaryWriter::write(value, error);
}

std::optional<PropertyList> PropertyListSerialization::propertyList(const Data& data,
                                                                    ErrorSlot error,
                                                                    PropertyListFormat* format) {
  if (data.empty()) {
    return propertyListFailure(error, "There is nothing to read");
  }
  PropertyListFormat ignored;
  PropertyListFormat& found = format != nullptr ? *format : ignored;
  if (data.view().starts_with(binary_property_list::kSignature)) {
    found = PropertyListFormat::kBinaryv1_0;
    return PropertyListBinaryReader::read(data.view(), error);
  }
  const std::optional<std::string> text = decodeText(data.view(), error);
  if (!text) return std::nullopt;
  if (looksLikeXML(*text)) {
    found = PropertyListFormat::kXMLv1_0;
    return readXMLPropertyList(*text, error);
  }
  found = PropertyListFormat::kOpenStep;
  return PropertyListTextReader::read(*text, error);
}

}  // namespace velto
