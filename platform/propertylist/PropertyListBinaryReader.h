// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>

#include "platform/foundation/PropertyList.h"
#include "platform/propertylist/PropertyListBinaryObjects.h"

namespace velto {

/// Reads the binary form. An object lives for one reading; one thread at a time.
class PropertyListBinaryReader {
 public:
  static std::optional<PropertyList> read(std::string_view bytes, ErrorSlot error);

  /// Says of a text whether it is the one; `bytes` are ASCII, or else UTF-16, the more significant
  /// byte of a unit first.
  using TextTest = std::function<bool(std::string_view bytes, bool isASCII)>;
  /// Whether the test holds for one of the texts among the values, at any depth; keys are none.
  /// Nothing when the bytes could not be gone through so far.
  static std::optional<bool> anyText(std::string_view bytes, const TextTest& test);
  /// Whether all texts among the objects are surely ASCII, and so lie in the bytes as they are.
  static bool hasASCIITextsOnly(std::string_view bytes);

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
