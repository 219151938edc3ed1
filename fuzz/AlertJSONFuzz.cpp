// SPDX-License-Identifier: Apache-2.0
// Whatever attributes an alert has, a recovery action reads JSON.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "alerts/VLAlertJSON.h"
#include "platform/connection/JSONReader.h"
#include "platform/propertylist/PropertyListSerialization.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const velto::Data bytes(std::string_view(reinterpret_cast<const char*>(data), size));
  const auto attributes = velto::PropertyListSerialization::propertyList(bytes, nullptr);
  if (!attributes || attributes->dictionary() == nullptr) return 0;
  velto::VLAlert alert;
  alert.type = "type";
  alert.attributes = *attributes->dictionary();
  std::string text;
  velto::appendJSON(text, alert);
  // Deeper than any alert from a client can be, which the reader would refuse.
  if (!velto::readJSON(text, {}, 2048)) __builtin_trap();
  return 0;
}
