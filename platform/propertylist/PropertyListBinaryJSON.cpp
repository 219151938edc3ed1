// SPDX-License-Identifier: Apache-2.0
#include "platform/propertylist/PropertyListBinaryJSON.h"

#include <cstdint>
#include <optional>
#include <variant>

#include "platform/foundation/Base64.h"
#include "platform/foundation/JSONText.h"
#include "platform/propertylist/PropertyListBinaryObjects.h"

namespace velto {

using namespace binary_property_list;

namespace {

/// Each function is false when there is something that is not plain.
class Writer {
 public:
  Writer(std::string& text, std::string_view bytes) : text_(text), objects_(bytes, nullptr) {}

  bool appendTop() {
    const auto object = objects_.top();
    const auto offset = object ? objects_.offsetOf(*object) : std::nullopt;
    return offset && objects_.typeAt(*offset) == kDictionary &&
           appendDictionary({objects_, *object, *offset});
  }

 private:
  using Container = PropertyListBinaryObjects::Container;

  bool append(std::optional<std::uint64_t> object);
  bool appendSimple(std::size_t offset);
  bool appendArray(Container elements);
  bool appendDictionary(Container keysAndValues);
  bool appendReserved(std::size_t offset);
  std::optional<std::string_view> plainKey(std::optional<std::uint64_t> object);
  bool appendASCII(const std::optional<std::string_view>& bytes) {
    return bytes && appendASCIIJSON(text_, *bytes);
  }
  template <typename Value>
  bool appendScalar(const std::optional<Value>& value) {
    if (value) appendJSON(text_, *value);
    return value.has_value();
  }

  std::string& text_;
  PropertyListBinaryObjects objects_;
};

bool Writer::append(std::optional<std::uint64_t> object) {
  const auto offset = object ? objects_.offsetOf(*object) : std::nullopt;
  if (!offset) return false;
  switch (objects_.typeAt(*offset)) {
    case kSimple:
      return appendSimple(*offset);
    case kInteger: {
      const auto number = objects_.integer(*offset);
      if (number) std::visit([&](auto value) { appendJSON(text_, value); }, *number);
      return number.has_value();
    }
    case kReal:
      return appendScalar(objects_.floatingPoint(*offset));
    case kDate:
    case kData:
      return appendReserved(*offset);
    case kASCIIString:
      return appendASCII(objects_.asciiBytes(*offset));
    case kUTF16String:
      return appendScalar(objects_.utf16String(*offset));
    case kArray:
      return appendArray({objects_, *object, *offset});
    case kDictionary:
      return appendDictionary({objects_, *object, *offset});
    default:
      return false;
  }
}

bool Writer::appendSimple(std::size_t offset) {
  const auto kind = objects_.lowHalfAt(offset);
  if (kind != kFalse && kind != kTrue) return false;
  appendJSON(text_, kind == kTrue);
  return true;
}

bool Writer::appendReserved(std::size_t offset) {
  JSONObjectText object(text_);
  const bool isDate = objects_.typeAt(offset) == kDate;
  object.beginMember(isDate ? "$date" : "$data");
  const auto data = isDate ? std::nullopt : objects_.data(offset);
  const auto value = data ? std::optional(base64Encoded(Data(*data))) : std::nullopt;
  const bool isAppended =
      isDate ? appendScalar(objects_.floatingPoint(offset)) : appendScalar(value);
  object.end();
  return isAppended;
}

bool Writer::appendArray(Container elements) {
  if (!elements.isOpen()) return false;
  text_ += '[';
  for (std::size_t i = 0; i < elements.count(); ++i) {
    if (i > 0) text_ += ',';
    if (!append(elements[i])) return false;
  }
  text_ += ']';
  return true;
}

/// Of ASCII alone: others are few, and would have to be kept to be compared.
std::optional<std::string_view> Writer::plainKey(std::optional<std::uint64_t> object) {
  const auto offset = object ? objects_.offsetOf(*object) : std::nullopt;
  if (!offset || objects_.typeAt(*offset) != kASCIIString) return std::nullopt;
  const auto key = objects_.asciiBytes(*offset);
  return key && !key->starts_with('$') ? key : std::nullopt;
}

bool Writer::appendDictionary(Container keysAndValues) {
  if (!keysAndValues.isOpen()) return false;
  const std::size_t count = keysAndValues.count();
  text_ += '{';
  std::string_view last;
  for (std::size_t i = 0; i < count; ++i) {
    const auto key = plainKey(keysAndValues[i]);
    if (!key || (i > 0 && *key <= last)) return false;
    last = *key;
    if (i > 0) text_ += ',';
    if (!appendASCIIJSON(text_, *key)) return false;
    text_ += ':';
    if (!append(keysAndValues[count + i])) return false;
  }
  text_ += '}';
  return true;
}

}  // namespace

bool appendPlainJSON(std::string& text, std::string_view bytes) {
  const std::size_t size = text.size();
  const bool isPlain = Writer(text, bytes).appendTop();
  if (!isPlain) text.resize(size);
  return isPlain;
}

}  // namespace velto
