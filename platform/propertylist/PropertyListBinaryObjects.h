// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "platform/foundation/Error.h"
#include "platform/propertylist/PropertyListBinaryFormat.h"
#include "platform/propertylist/PropertyListSerialization.h"

namespace velto {

/// The objects of a file in the binary form, checked as they are asked for. What is wrong with one
/// is told through the error slot. An object lives for one reading; one thread at a time.
class PropertyListBinaryObjects {
 public:
  PropertyListBinaryObjects(std::string_view bytes, ErrorSlot error);

  /// The number of the object that holds all others; first of all.
  std::optional<std::uint64_t> top();
  /// How many there are, once the top one is known.
  std::uint64_t count() const { return objectCount_; }
  /// Where the object of a number that there is begins, with its marker.
  std::optional<std::size_t> offsetOf(std::uint64_t object);
  unsigned typeAt(std::size_t offset) const { return byteAt(offset) >> 4; }
  std::uint8_t lowHalfAt(std::size_t offset) const {
    return byteAt(offset) & binary_property_list::kLowHalf;
  }

  std::optional<std::variant<std::uint64_t, std::int64_t>> integer(std::size_t offset);
  std::optional<double> floatingPoint(std::size_t offset);
  std::optional<std::string_view> data(std::size_t offset) { return countedContent(offset, 1); }
  std::optional<std::string_view> asciiString(std::size_t offset);
  /// The same for who looks at the bytes himself: some may not be ASCII.
  std::optional<std::string_view> asciiBytes(std::size_t offset) {
    return countedContent(offset, 1);
  }
  /// Of a string of UTF-16, the more significant byte of a unit first.
  std::optional<std::string_view> utf16Bytes(std::size_t offset) {
    return countedContent(offset, 2);
  }
  /// A string of UTF-16 as UTF-8.
  std::optional<std::string> utf16String(std::size_t offset);

  /// The objects that a container holds: of an array all elements, of a dictionary all keys and
  /// then all values. Within itself, or too deep, there is none.
  class Container {
   public:
    Container(PropertyListBinaryObjects& objects, std::uint64_t object, std::size_t offset);
    ~Container();
    Container(const Container&) = delete;
    Container& operator=(const Container&) = delete;

    bool isOpen() const { return references_.has_value(); }
    /// How many elements, or pairs of a key and a value, an open one has.
    std::size_t count() const { return count_; }
    /// The number of the object that an open one has in this place; nothing when there is none.
    std::optional<std::uint64_t> operator[](std::size_t index);

   private:
    void leave();

    PropertyListBinaryObjects& objects_;
    std::optional<std::string_view> references_;
    std::size_t count_ = 0;
  };

  std::nullopt_t fail(std::string_view what, std::size_t offset);

 private:
  bool readTrailer();
  bool enter(std::uint64_t object, std::size_t offset);
  /// The references of the container at `offset`, `perEntry` for each of its entries; paid for.
  std::optional<std::string_view> references(std::size_t offset, std::size_t perEntry);
  /// The bytes behind the marker at `offset`, whose low half is the logarithm of their number.
  std::optional<std::string_view> scalarContent(std::size_t offset);
  /// The bytes behind the marker and the count of the object at `offset`, `unit` for each one
  /// counted.
  std::optional<std::string_view> countedContent(std::size_t offset, std::size_t unit);
  std::optional<std::string_view> content(std::size_t position, std::size_t size);
  bool pay(std::uint64_t cost, std::size_t offset);
  std::uint8_t byteAt(std::size_t offset) const {
    return static_cast<std::uint8_t>(bytes_[offset]);
  }

  const std::string_view bytes_;
  const ErrorSlot error_;

  std::size_t offsetWidth_ = 0;
  std::size_t referenceWidth_ = 0;
  std::uint64_t objectCount_ = 0;
  std::uint64_t topObject_ = 0;
  std::size_t tableOffset_ = 0;  ///< also where the objects end

  std::uint64_t budget_;
  /// The containers now being read, one in the other.
  std::array<std::uint64_t, PropertyListSerialization::kMaximumDepth> open_;
  std::ptrdiff_t depth_ = 0;
};

}  // namespace velto
