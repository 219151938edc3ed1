// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/foundation/Error.h"
#include "platform/foundation/PropertyList.h"

namespace velto {

/// Reads the binary form. An object lives for one reading; one thread at a time.
class PropertyListBinaryReader {
 public:
  static std::optional<PropertyList> read(std::string_view bytes, ErrorSlot error);

 private:
  using Result = std::optional<PropertyList>;

  PropertyListBinaryReader(std::string_view bytes, ErrorSlot error);

  bool readTrailer();
  Result readObject(std::uint64_t object);
  Result readSimple(std::size_t offset);
  Result readInteger(std::size_t offset);
  Result readReal(std::size_t offset);
  Result readDate(std::size_t offset);
  Result readData(std::size_t offset);
  Result readASCIIString(std::size_t offset);
  Result readUTF16String(std::size_t offset);
  Result readContainer(std::uint64_t object, std::size_t offset);
  Result readArray(std::size_t offset);
  Result readDictionary(std::size_t offset);
  Result readReference(std::string_view references, std::size_t index);

  /// The references of the container at `offset`, `perEntry` for each of its entries; paid for.
  std::optional<std::string_view> references(std::size_t offset, std::size_t perEntry);
  std::optional<double> floatingPoint(std::size_t offset);
  /// The bytes behind the marker at `offset`, whose low half is the logarithm of their number.
  std::optional<std::string_view> scalarContent(std::size_t offset);
  /// The bytes behind the marker and the count of the object at `offset`, `unit` for each one
  /// counted.
  std::optional<std::string_view> countedContent(std::size_t offset, std::size_t unit);
  std::optional<std::string_view> content(std::size_t position, std::size_t size);
  bool pay(std::uint64_t cost, std::size_t offset);
  std::uint8_t byteAt(std::size_t offset) const;
  std::nullopt_t fail(std::string_view what, std::size_t offset);

  const std::string_view bytes_;
  const ErrorSlot error_;

  std::size_t offsetWidth_ = 0;
  std::size_t referenceWidth_ = 0;
  std::uint64_t objectCount_ = 0;
  std::uint64_t topObject_ = 0;
  std::size_t tableOffset_ = 0;  ///< also where the objects end

  std::uint64_t budget_;
  std::vector<bool> open_;  ///< by object: whether it is a container now being read
  int depth_ = 0;
};

}  // namespace velto
