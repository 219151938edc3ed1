// SPDX-License-Identifier: Apache-2.0
// Any bytes to the reader of binary property lists, to its search for texts, and to the way past
// it.

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

/// Fewer than there are where a key comes twice: then the last value counts.
std::size_t textsIn(const PropertyList& value) {
  std::size_t texts = value.string() == nullptr ? 0 : 1;
  if (const auto* array = value.array()) {
    for (const auto& one : *array)
      texts += textsIn(one);
  } else if (const auto* dictionary = value.dictionary()) {
    for (const auto& [key, one] : *dictionary)
      texts += textsIn(one);
  }
  return texts;
}

/// What can be read can be searched, and searching finds all its texts.
void checkSearch(std::string_view bytes, const std::optional<PropertyList>& value) {
  std::size_t texts = 0;
  bool isASCII = true;
  const auto found =
      PropertyListBinaryReader::anyText(bytes, [&](std::string_view, bool isOfASCII) {
        ++texts;
        isASCII = isASCII && isOfASCII;
        return false;
      });
  require(isASCII || !PropertyListBinaryReader::hasASCIITextsOnly(bytes), "no other text");
  require(!value || (found == false && texts >= textsIn(*value)), "all texts are found");
}

}  // namespace velto::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::optional<velto::Error> error;
  const auto value =
      velto::PropertyListBinaryReader::read(velto::fuzz::inputText(data, size), &error);
  velto::fuzz::checkReading(value, error, false);
  velto::fuzz::checkJSON(velto::fuzz::inputText(data, size), value);
  velto::fuzz::checkSearch(velto::fuzz::inputText(data, size), value);
  return 0;
}
