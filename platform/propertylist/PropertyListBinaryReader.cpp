// SPDX-License-Identifier: Apache-2.0
#include "platform/propertylist/PropertyListBinaryReader.h"

#include <algorithm>
#include <bit>
#include <utility>

#include "platform/propertylist/PropertyListBinaryFormat.h"
#include "platform/propertylist/PropertyListError.h"
#include "platform/propertylist/PropertyListSerialization.h"
#include "platform/propertylist/PropertyListUnicode.h"

namespace velto {

using namespace binary_property_list;

namespace {

/// A big-endian number of at most eight bytes.
std::uint64_t bigEndian(std::string_view bytes) {
  std::uint64_t number = 0;
  for (const char byte : bytes) {
    number = number << 8 | static_cast<std::uint8_t>(byte);
  }
  return number;
}

bool isWidth(std::size_t width) {
  return width >= 1 && width <= 8;
}

std::string_view nameOfType(unsigned type) {
  switch (type) {
    case kUID:
      return "a UID, which is no property-list value";
    case kSet:
      return "a set, which is no property-list value";
    default:
      return "an object of unknown type";
  }
}

}  // namespace

PropertyListBinaryReader::PropertyListBinaryReader(std::string_view bytes, ErrorSlot error)
    : bytes_(bytes), error_(error), budget_(kUnfoldFactor * bytes.size() + kUnfoldAllowance) {}

std::optional<PropertyList> PropertyListBinaryReader::read(std::string_view bytes,
                                                           ErrorSlot error) {
  PropertyListBinaryReader reader(bytes, error);
  return reader.readTrailer() ? reader.readObject(reader.topObject_) : std::nullopt;
}

bool PropertyListBinaryReader::readTrailer() {
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
  open_.resize(objectCount_);
  return true;
}

PropertyListBinaryReader::Result PropertyListBinaryReader::readObject(std::uint64_t object) {
  const std::size_t entry = tableOffset_ + object * offsetWidth_;
  const std::uint64_t offset = bigEndian(bytes_.substr(entry, offsetWidth_));
  if (offset < kWrittenSignature.size() || offset >= tableOffset_) {
    return fail("the offset of an object lies outside the objects", entry);
  }
  const unsigned type = byteAt(offset) >> 4;
  switch (type) {
    case kSimple:
      return readSimple(offset);
    case kInteger:
      return readInteger(offset);
    case kReal:
      return readReal(offset);
    case kDate:
      return readDate(offset);
    case kData:
      return readData(offset);
    case kASCIIString:
      return readASCIIString(offset);
    case kUTF16String:
      return readUTF16String(offset);
    case kArray:
    case kDictionary:
      return readContainer(object, offset);
    default:
      return fail(nameOfType(type), offset);
  }
}

PropertyListBinaryReader::Result PropertyListBinaryReader::readSimple(std::size_t offset) {
  switch (byteAt(offset) & kLowHalf) {
    case kNull:
      return PropertyList();
    case kFalse:
      return PropertyList(false);
    case kTrue:
      return PropertyList(true);
    default:
      return fail("a filler or unknown marker in place of a value", offset);
  }
}

PropertyListBinaryReader::Result PropertyListBinaryReader::readInteger(std::size_t offset) {
  const auto bytes = scalarContent(offset);
  if (!bytes) return std::nullopt;
  if (bytes->size() < 8) return PropertyList(bigEndian(*bytes));
  if (bytes->size() == 8) return PropertyList(static_cast<std::int64_t>(bigEndian(*bytes)));
  if (bytes->size() > 16) return fail("an integer of unknown width", offset);
  // Sixteen bytes are signed; what fits neither 64-bit type has no value here.
  const std::uint64_t high = bigEndian(bytes->substr(0, 8));
  const std::uint64_t low = bigEndian(bytes->substr(8));
  const auto number = static_cast<std::int64_t>(low);
  if (high == 0) return PropertyList(low);
  if (high == ~std::uint64_t{0} && number < 0) return PropertyList(number);
  return fail("an integer beyond 64 bits", offset);
}

PropertyListBinaryReader::Result PropertyListBinaryReader::readReal(std::size_t offset) {
  const auto number = floatingPoint(offset);
  return number ? Result(PropertyList(*number)) : std::nullopt;
}

PropertyListBinaryReader::Result PropertyListBinaryReader::readDate(std::size_t offset) {
  const auto seconds = floatingPoint(offset);
  return seconds ? Result(PropertyList(Date(*seconds))) : std::nullopt;
}

PropertyListBinaryReader::Result PropertyListBinaryReader::readData(std::size_t offset) {
  const auto bytes = countedContent(offset, 1);
  return bytes ? Result(PropertyList(Data(*bytes))) : std::nullopt;
}

PropertyListBinaryReader::Result PropertyListBinaryReader::readASCIIString(std::size_t offset) {
  const auto text = countedContent(offset, 1);
  if (!text) return std::nullopt;
  const bool isASCII = std::all_of(text->begin(), text->end(),
                                   [](char c) { return static_cast<unsigned char>(c) < 0x80; });
  return isASCII ? Result(PropertyList(*text)) : fail("an ASCII string with other bytes", offset);
}

PropertyListBinaryReader::Result PropertyListBinaryReader::readUTF16String(std::size_t offset) {
  const auto bytes = countedContent(offset, 2);
  if (!bytes) return std::nullopt;
  std::optional<std::string> text = utf8FromUTF16(utf16FromBytes(*bytes, true));
  return text ? Result(PropertyList(std::move(*text))) : fail("an invalid UTF-16 string", offset);
}

PropertyListBinaryReader::Result PropertyListBinaryReader::readContainer(std::uint64_t object,
                                                                         std::size_t offset) {
  if (open_[object]) return fail("a container that contains itself", offset);
  if (depth_ == PropertyListSerialization::kMaximumDepth) return fail("nested too deep", offset);
  open_[object] = true;
  ++depth_;
  Result result = byteAt(offset) >> 4 == kArray ? readArray(offset) : readDictionary(offset);
  --depth_;
  open_[object] = false;
  return result;
}

PropertyListBinaryReader::Result PropertyListBinaryReader::readArray(std::size_t offset) {
  const auto elements = references(offset, 1);
  if (!elements) return std::nullopt;
  const std::size_t count = elements->size() / referenceWidth_;
  PropertyList::Array array;
  array.reserve(count);
  for (std::size_t i = 0; i < count; ++i) {
    Result element = readReference(*elements, i);
    if (!element) return std::nullopt;
    array.push_back(std::move(*element));
  }
  return PropertyList(std::move(array));
}

PropertyListBinaryReader::Result PropertyListBinaryReader::readDictionary(std::size_t offset) {
  const auto keysAndValues = references(offset, 2);
  if (!keysAndValues) return std::nullopt;
  const std::size_t count = keysAndValues->size() / referenceWidth_ / 2;
  PropertyList::Dictionary dictionary;
  for (std::size_t i = 0; i < count; ++i) {
    const Result key = readReference(*keysAndValues, i);
    if (!key) return std::nullopt;
    if (key->string() == nullptr) return fail("a dictionary key that is no string", offset);
    Result value = readReference(*keysAndValues, count + i);
    if (!value) return std::nullopt;
    dictionary.insert_or_assign(*key->string(), std::move(*value));
  }
  return PropertyList(std::move(dictionary));
}

PropertyListBinaryReader::Result PropertyListBinaryReader::readReference(
    std::string_view references, std::size_t index) {
  const std::string_view reference = references.substr(index * referenceWidth_, referenceWidth_);
  const std::uint64_t object = bigEndian(reference);
  if (object < objectCount_) return readObject(object);
  return fail("a reference to no object",
              static_cast<std::size_t>(reference.data() - bytes_.data()));
}

std::optional<std::string_view> PropertyListBinaryReader::references(std::size_t offset,
                                                                     std::size_t perEntry) {
  const auto bytes = countedContent(offset, perEntry * referenceWidth_);
  if (!bytes || !pay(bytes->size() / referenceWidth_ * kReferenceCost, offset)) return std::nullopt;
  return bytes;
}

std::optional<double> PropertyListBinaryReader::floatingPoint(std::size_t offset) {
  const auto bytes = scalarContent(offset);
  if (!bytes) return std::nullopt;
  const std::uint64_t bits = bigEndian(*bytes);
  if (bytes->size() == 8) return std::bit_cast<double>(bits);
  if (bytes->size() == 4) return std::bit_cast<float>(static_cast<std::uint32_t>(bits));
  return fail("a real number of unknown width", offset);
}

std::optional<std::string_view> PropertyListBinaryReader::scalarContent(std::size_t offset) {
  return content(offset + 1, std::size_t{1} << (byteAt(offset) & kLowHalf));
}

std::optional<std::string_view> PropertyListBinaryReader::countedContent(std::size_t offset,
                                                                         std::size_t unit) {
  std::size_t position = offset + 1;
  std::uint64_t count = byteAt(offset) & kLowHalf;
  if (count == kCountFollows) {
    if (byteAt(position) >> 4 != kInteger) return fail("a count that is no integer", position);
    const auto bytes = scalarContent(position);
    if (!bytes) return std::nullopt;
    if (bytes->size() > 8) return fail("a count of unknown width", position);
    count = bigEndian(*bytes);
    position += 1 + bytes->size();
  }
  if (count > bytes_.size()) return fail("a count beyond the objects", offset);
  return content(position, count * unit);
}

std::optional<std::string_view> PropertyListBinaryReader::content(std::size_t position,
                                                                  std::size_t size) {
  if (position > tableOffset_ || size > tableOffset_ - position)
    return fail("a value reaches beyond the objects", position);
  if (!pay(size, position)) return std::nullopt;
  return bytes_.substr(position, size);
}

bool PropertyListBinaryReader::pay(std::uint64_t cost, std::size_t offset) {
  if (cost > budget_) {
    fail("shared objects unfold to too much", offset);
    return false;
  }
  budget_ -= cost;
  return true;
}

std::uint8_t PropertyListBinaryReader::byteAt(std::size_t offset) const {
  return static_cast<std::uint8_t>(bytes_[offset]);
}

std::nullopt_t PropertyListBinaryReader::fail(std::string_view what, std::size_t offset) {
  return propertyListFailure(error_, std::string(what) + " at byte " + std::to_string(offset));
}

}  // namespace velto
