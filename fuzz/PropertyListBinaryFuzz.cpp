// SPDX-License-Identifier: Apache-2.0
// Any bytes to the reader of binary property lists, and to the way past it.

#include <string>

#include "fuzz/PropertyListRoundTrip.h"
#include "platform/propertylist/PropertyListBinaryJSON.h"
#include "platform/propertylist/PropertyListJSON.h"

namespace velto::fuzz {

/// JSON that is made without a value is that of the value.
void checkJSON(std::string_view bytes, const std::optional<PropertyList>& value) {
  std::string text = "before";
  if (!appendPlainJSON(text, bytes))
    return require(text == "before", "no text of what is not plain");
  require(value.has_value(), "what is plain can be read");
  std::string ofValue = "before";
  appendJSON(ofValue, *value);
  require(text == ofValue, "the same text");
}

}  // namespace velto::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::optional<velto::Error> error;
  const auto value =
      velto::PropertyListBinaryReader::read(velto::fuzz::inputText(data, size), &error);
  velto::fuzz::checkReading(value, error, false);
  velto::fuzz::checkJSON(velto::fuzz::inputText(data, size), value);
  return 0;
}
