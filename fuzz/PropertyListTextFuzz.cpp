// SPDX-License-Identifier: Apache-2.0
// Any text to the reader of textual property lists.

#include "fuzz/PropertyListRoundTrip.h"
#include "platform/propertylist/PropertyListTextReader.h"
#include "platform/propertylist/PropertyListUnicode.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::optional<velto::Error> error;
  const auto text = velto::decodeText(velto::fuzz::inputText(data, size), &error);
  if (!text) return 0;
  const auto value = velto::PropertyListTextReader::read(*text, &error);
  velto::fuzz::checkReading(value, error, true);
  return 0;
}
