// SPDX-License-Identifier: Apache-2.0
#include "platform/propertylist/PropertyListBinaryObjects.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <endian.h>

#include "platform/foundation/UTF8.h"
#include "platform/propertylist/PropertyListError.h"
#include "platform/propertylist/PropertyListUnicode.h"

namespace velto {

using namespace binary_property_list;

namespace {

/// A big-endian number of at most eight bytes.
std::uint64_t bigEndian(std::string_view bytes) {
  if (std::uint64_t word = 0; bytes.size() == sizeof word) {
    std::memcpy(&word, bytes.data(), sizeof word);
    return be64toh(word);
  }
  std::uint64_t number = 0;
  for (const char byte : bytes) {
    number = number << 8 | static_cast<std::uint8_t>(byte);
  }
  return number;
}

bool isWidth(std::size_t width) {
  return width >= 1 && width <= 8;
}

}  // namespace

PropertyListBinaryObjects::PropertyListBinaryObjects(std::string_view bytes, ErrorSlot error)
    : bytes_(bytes), error_(error), budget_(kUnfoldFactor * bytes.size() + kUnfoldAllowance) {}

std::optional<std::uint64_t> PropertyListBinaryObjects::top() {
  return readTrailer() ? std::optional(topObject_) : std::nullopt;
}

bool PropertyListBinaryObjects::readTrailer() {
  if (!bytes_.starts_with(kSignature) || bytes_.size() < kWrittenSignature.size() + kTrailerSize) {
    propertyListFailure(error_, "too short for a binary property list");
    return false;
  }
  const std::size_t start = bytes_.size() - kTrailerSize;
  const auto number = [&](std::size_t field) { return bigEndian(bytes_.substr(start + field, 8)); };
  offsetWidth_ = byteAt(start + kTrailerOffsetWidth);
  referenceWidth_ = byteAt(start + kTrailerReferenceWidth);
  objectCount_ = number(kTrailerObjectCount);
  topObject_ = number(kTrailerTopObject);
  tableOffset_ = number(kTrailerTableOffset);
  if (!isWidth(offsetWidth_) || !isWidth(referenceWidth_) || tableOffset_ > start ||
      tableOffset_ < kWrittenSignature.size() ||
      objectCount_ > (start - tableOffset_) / offsetWidth_ || topObject_ >= objectCount_) {
    fail("the trailer contradicts the file", start);
    return false;
  }
  return true;
}

std::optional<std::size_t> PropertyListBinaryObjects::offsetOf(std::uint64_t object) {
  const std::size_t entry = tableOffset_ + object * offsetWidth_;
  const std::uint64_t offset = bigEndian(bytes_.substr(entry, offsetWidth_));
  if (offset < kWrittenSignature.size() || offset >= tableOffset_) {
    return fail("the offset of an object lies outside the objects", entry);
  }
  return offset;
}

std::optional<std::variant<std::uint64_t, std::int64_t>> PropertyListBinaryObjects::integer(
    std::size_t offset) {
  using Integer = std::variant<std::uint64_t, std::int64_t>;
  const auto bytes = scalarContent(offset);
  if (!bytes) return std::nullopt;
  if (bytes->size() < 8) return Integer(bigEndian(*bytes));
  if (bytes->size() == 8) return Integer(static_cast<std::int64_t>(bigEndian(*bytes)));
  if (bytes->size() > 16) return fail("an integer of unknown width", offset);
  // Sixteen bytes are signed; what fits neither 64-bit type has no value here.
  const std::uint64_t high = bigEndian(bytes->substr(0, 8));
  const std::uint64_t low = bigEndian(bytes->substr(8));
  const auto number = static_cast<std::int64_t>(low);
  if (high == 0) return Integer(low);
  if (high == ~std::uint64_t{0} && number < 0) return Integer(number);
  return fail("an integer beyond 64 bits", offset);
}

std::optional<double> PropertyListBinaryObjects::floatingPoint(std::size_t offset) {
  const auto bytes = scalarContent(offset);
  if (!bytes) return std::nullopt;
  const std::uint64_t bits = bigEndian(*bytes);
  if (bytes->size() == 8) return std::bit_cast<double>(bits);
  if (bytes->size() == 4) return std::bit_cast<float>(static_cast<std::uint32_t>(bits));
  return fail("a real number of unknown width", offset);
}

std::optional<std::string_view> PropertyListBinaryObjects::asciiString(std::size_t offset) {
  const auto text = asciiBytes(offset);
  if (!text) return std::nullopt;
  if (!isASCII(*text)) return fail("an ASCII string with other bytes", offset);
  return text;
}

std::optional<std::string> PropertyListBinaryObjects::utf16String(std::size_t offset) {
  const auto bytes = utf16Bytes(offset);
  if (!bytes) return std::nullopt;
  std::optional<std::string> text = utf8FromUTF16(utf16FromBytes(*bytes, true));
  if (!text) return fail("an invalid UTF-16 string", offset);
  return text;
}

PropertyListBinaryObjects::Container::Container(PropertyListBinaryObjects& objects,
                                                std::uint64_t object, std::size_t offset)
    : objects_(objects) {
  if (!objects_.enter(object, offset)) return;
  const std::size_t perEntry = objects_.typeAt(offset) == kArray ? 1 : 2;
  references_ = objects_.references(offset, perEntry);
  if (!references_) {
    leave();
    return;
  }
  count_ = references_->size() / objects_.referenceWidth_ / perEntry;
}

PropertyListBinaryObjects::Container::~Container() {
  if (isOpen()) leave();
}

void PropertyListBinaryObjects::Container::leave() {
  --objects_.depth_;
}

std::optional<std::uint64_t> PropertyListBinaryObjects::Container::operator[](std::size_t index) {
  const std::size_t width = objects_.referenceWidth_;
  const std::string_view reference = references_->substr(index * width, width);
  const std::uint64_t object = bigEndian(reference);
  if (object < objects_.objectCount_) return object;
  return objects_.fail("a reference to no object",
                       static_cast<std::size_t>(reference.data() - objects_.bytes_.data()));
}

bool PropertyListBinaryObjects::enter(std::uint64_t object, std::size_t offset) {
  const auto end = open_.begin() + depth_;
  if (std::find(open_.begin(), end, object) != end) {
    fail("a container that contains itself", offset);
    return false;
  }
  if (end == open_.end()) {
    fail("nested too deep", offset);
    return false;
  }
  *end = object;
  ++depth_;
  return true;
}

std::optional<std::string_view> PropertyListBinaryObjects::references(std::size_t offset,
                                                                      std::size_t perEntry) {
  const auto bytes = countedContent(offset, perEntry * referenceWidth_);
  if (!bytes || !pay(bytes->size() / referenceWidth_ * kReferenceCost, offset)) return std::nullopt;
  return bytes;
}

std::optional<std::string_view> PropertyListBinaryObjects::scalarContent(std::size_t offset) {
  return content(offset + 1, std::size_t{1} << lowHalfAt(offset));
}

std::optional<std::string_view> PropertyListBinaryObjects::countedContent(std::size_t offset,
                                                                          std::size_t unit) {
  std::size_t position = offset + 1;
  std::uint64_t count = lowHalfAt(offset);
  if (count == kCountFollows) {
    if (typeAt(position) != kInteger) return fail("a count that is no integer", position);
    const auto bytes = scalarContent(position);
    if (!bytes) return std::nullopt;
    if (bytes->size() > 8) return fail("a count of unknown width", position);
    count = bigEndian(*bytes);
    position += 1 + bytes->size();
  }
  if (count > bytes_.size()) return fail("a count beyond the objects", offset);
  return content(position, count * unit);
}

std::optional<std::string_view> PropertyListBinaryObjects::content(std::size_t position,
                                                                   std::size_t size) {
  if (position > tableOffset_ || size > tableOffset_ - position)
    return fail("a value reaches beyond the objects", position);
  if (!pay(size, position)) return std::nullopt;
  return bytes_.substr(position, size);
}

bool PropertyListBinaryObjects::pay(std::uint64_t cost, std::size_t offset) {
  if (cost > budget_) {
    fail("shared objects unfold to too much", offset);
    return false;
  }
  budget_ -= cost;
  return true;
}

std::nullopt_t PropertyListBinaryObjects::fail(std::string_view what, std::size_t offset) {
  return propertyListFailure(error_, std::string(what) + " at byte " + std::to_string(offset));
}

}  // namespace velto
