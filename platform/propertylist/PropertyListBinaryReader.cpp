// SPDX-License-Identifier: Apache-2.0
#include "platform/propertylist/PropertyListBinaryReader.h"

#include <string>
#include <utility>

namespace velto {

using namespace binary_property_list;

namespace {

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

/// The value that was read, if one was.
template <typename Read>
std::optional<PropertyList> valueOf(std::optional<Read> read) {
  return read ? std::optional(PropertyList(*std::move(read))) : std::nullopt;
}

}  // namespace

std::optional<PropertyList> PropertyListBinaryReader::read(std::string_view bytes,
                                                           ErrorSlot error) {
  PropertyListBinaryReader reader(bytes, error);
  return reader.readObject(reader.objects_.top());
}

PropertyListBinaryReader::Result PropertyListBinaryReader::readObject(
    std::optional<std::uint64_t> object) {
  const auto offset = object ? objects_.offsetOf(*object) : std::nullopt;
  if (!offset) return std::nullopt;
  const unsigned type = objects_.typeAt(*offset);
  switch (type) {
    case kSimple:
      return readSimple(*offset);
    case kInteger: {
      const auto number = objects_.integer(*offset);
      if (!number) return std::nullopt;
      return std::visit([](auto value) { return PropertyList(value); }, *number);
    }
    case kReal:
      return valueOf(objects_.floatingPoint(*offset));
    case kDate: {
      const auto seconds = objects_.floatingPoint(*offset);
      return seconds ? Result(Date(*seconds)) : std::nullopt;
    }
    case kData: {
      const auto bytes = objects_.data(*offset);
      return bytes ? Result(Data(*bytes)) : std::nullopt;
    }
    case kASCIIString:
      return valueOf(objects_.asciiString(*offset));
    case kUTF16String:
      return valueOf(objects_.utf16String(*offset));
    case kArray:
      return readArray({objects_, *object, *offset});
    case kDictionary:
      return readDictionary({objects_, *object, *offset}, *offset);
    default:
      return objects_.fail(nameOfType(type), *offset);
  }
}

PropertyListBinaryReader::Result PropertyListBinaryReader::readSimple(std::size_t offset) {
  switch (objects_.lowHalfAt(offset)) {
    case kNull:
      return PropertyList();
    case kFalse:
      return PropertyList(false);
    case kTrue:
      return PropertyList(true);
    default:
      return objects_.fail("a filler or unknown marker in place of a value", offset);
  }
}

PropertyListBinaryReader::Result PropertyListBinaryReader::readArray(Container elements) {
  if (!elements.isOpen()) return std::nullopt;
  PropertyList::Array array;
  array.reserve(elements.count());
  for (std::size_t i = 0; i < elements.count(); ++i) {
    Result element = readObject(elements[i]);
    if (!element) return std::nullopt;
    array.push_back(std::move(*element));
  }
  return PropertyList(std::move(array));
}

PropertyListBinaryReader::Result PropertyListBinaryReader::readDictionary(Container keysAndValues,
                                                                          std::size_t offset) {
  if (!keysAndValues.isOpen()) return std::nullopt;
  const std::size_t count = keysAndValues.count();
  PropertyList::Dictionary dictionary;
  for (std::size_t i = 0; i < count; ++i) {
    const Result key = readObject(keysAndValues[i]);
    if (!key) return std::nullopt;
    if (key->string() == nullptr) {
      return objects_.fail("a dictionary key that is no string", offset);
    }
    Result value = readObject(keysAndValues[count + i]);
    if (!value) return std::nullopt;
    dictionary.insert_or_assign(*key->string(), std::move(*value));
  }
  return PropertyList(std::move(dictionary));
}

}  // namespace velto
