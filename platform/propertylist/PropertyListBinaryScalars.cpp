// SPDX-License-Identifier: Apache-2.0
#include "platform/propertylist/PropertyListBinaryScalars.h"

#include <algorithm>
#include <bit>

#include "platform/foundation/UTF8.h"
#include "platform/propertylist/PropertyListUnicode.h"

namespace velto::binary_property_list {

namespace {

char marker(Type type, unsigned lowHalf) {
  return static_cast<char>(type << 4 | lowHalf);
}

void appendUnsigned(std::string& output, std::uint64_t number) {
  // The widths are powers of two, and readers take eight bytes as signed.
  const std::size_t width = std::bit_ceil(widthOf(number));
  output.push_back(marker(kInteger, static_cast<unsigned>(std::countr_zero(width))));
  appendBigEndian(output, number, width);
}

std::string encodeDouble(Type type, double number) {
  std::string output(1, marker(type, 3));
  appendBigEndian(output, std::bit_cast<std::uint64_t>(number), 8);
  return output;
}

struct ScalarEncoder {
  using Encoding = std::optional<std::string>;

  Encoding operator()(bool value) const {
    return std::string(1, marker(kSimple, value ? kTrue : kFalse));
  }
  Encoding operator()(double value) const { return encodeDouble(kReal, value); }
  Encoding operator()(Date value) const {
    return encodeDouble(kDate, value.secondsSinceReference());
  }

  Encoding operator()(std::int64_t value) const {
    std::string output;
    appendUnsigned(output, static_cast<std::uint64_t>(value));
    return output;
  }

  Encoding operator()(std::uint64_t value) const {
    // Eight bytes would be a negative number, so it takes sixteen.
    std::string output(1, marker(kInteger, 4));
    appendBigEndian(output, 0, 8);
    appendBigEndian(output, value, 8);
    return output;
  }

  Encoding operator()(const Data& value) const {
    std::string output;
    appendMarker(output, kData, value.size());
    return output.append(value.view());
  }

  Encoding operator()(const std::string& value) const { return encodeString(value); }

  Encoding operator()(std::monostate) const { return std::nullopt; }
  Encoding operator()(const PropertyList::Array&) const { return std::nullopt; }
  Encoding operator()(const PropertyList::Dictionary&) const { return std::nullopt; }
};

}  // namespace

std::size_t widthOf(std::uint64_t number) {
  return std::max<std::size_t>(1, (static_cast<std::size_t>(std::bit_width(number)) + 7) / 8);
}

void appendBigEndian(std::string& output, std::uint64_t number, std::size_t width) {
  while (width > 0) {
    --width;
    output.push_back(static_cast<char>(number >> (8 * width) & 0xFF));
  }
}

void appendMarker(std::string& output, Type type, std::uint64_t count) {
  if (count < kCountFollows) {
    output.push_back(marker(type, static_cast<unsigned>(count)));
  } else {
    output.push_back(marker(type, kCountFollows));
    appendUnsigned(output, count);
  }
}

std::optional<std::string> encodeString(const std::string& value) {
  std::string output;
  if (isASCII(value)) {
    appendMarker(output, kASCIIString, value.size());
    return output.append(value);
  }
  const std::optional<std::u16string> units = utf16FromUTF8(value);
  if (!units) return std::nullopt;
  constexpr std::size_t kMarker = 10;
  output.reserve(kMarker + 2 * units->size());
  appendMarker(output, kUTF16String, units->size());
  for (const char16_t unit : *units) {
    appendBigEndian(output, unit, 2);
  }
  return output;
}

std::optional<std::string> encodeScalar(const PropertyList& value) {
  return value.visit(ScalarEncoder());
}

}  // namespace velto::binary_property_list
