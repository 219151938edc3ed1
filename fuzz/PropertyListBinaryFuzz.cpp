// SPDX-License-Identifier: Apache-2.0
// Any bytes to the reader of binary property lists.

#include "fuzz/PropertyListRoundTrip.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::optional<velto::Error> error;
  const auto value =
      velto::PropertyListBinaryReader::read(velto::fuzz::inputText(data, size), &error);
  velto::fuzz::checkReading(value, error, false);
  return 0;
}
