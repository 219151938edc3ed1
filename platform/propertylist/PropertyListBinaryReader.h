// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "platform/foundation/PropertyList.h"
#include "platform/propertylist/PropertyListBinaryObjects.h"

namespace velto {

/// Reads the binary form. An object lives for one reading; one thread at a time.
class PropertyListBinaryReader {
 public:
  static std::optional<PropertyList> read(std::string_view bytes, ErrorSlot error);

 private:
  using Result = std::optional<PropertyList>;
  using Container = PropertyListBinaryObjects::Container;

  PropertyListBinaryReader(std::string_view bytes, ErrorSlot error) : objects_(bytes, error) {}

  /// Of a number that there is, or nothing of none.
  Result readObject(std::optional<std::uint64_t> object);
  Result readSimple(std::size_t offset);
  Result readArray(Container array);
  Result readDictionary(Container dictionary, std::size_t offset);

  PropertyListBinaryObjects objects_;
};

}  // namespace velto
