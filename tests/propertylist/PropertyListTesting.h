// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "platform/propertylist/PropertyListSerialization.h"

namespace velto {

/// The value that the bytes hold; fails the test, with the error, when they hold none.
inline PropertyList valueOf(std::string_view bytes) {
  std::optional<Error> error;
  std::optional<PropertyList> value = PropertyListSerialization::propertyList(Data(bytes), &error);
  EXPECT_TRUE(value) << error->localizedDescription();
  return value.value_or(PropertyList());
}

/// Why the bytes hold no value; fails the test when they hold one.
inline std::string readErrorOf(std::string_view bytes) {
  std::optional<Error> error;
  EXPECT_FALSE(PropertyListSerialization::propertyList(Data(bytes), &error));
  if (!error) return "no error";
  EXPECT_EQ(error->domain, "PropertyListSerialization");
  return error->localizedDescription();
}

/// The binary form of the value; fails the test when it has none.
inline std::string bytesOf(const PropertyList& value) {
  std::optional<Error> error;
  const std::optional<Data> data = PropertyListSerialization::binaryData(value, &error);
  EXPECT_TRUE(data) << error->localizedDescription();
  return data ? std::string(data->view()) : std::string();
}

inline std::string bigEndian(std::uint64_t number, std::size_t width) {
  std::string bytes(width, '\0');
  for (std::size_t i = width; i > 0 && number > 0; --i) {
    bytes[i - 1] = static_cast<char>(number & 0xFF);
    number >>= 8;
  }
  return bytes;
}

/// A binary file from hand-made objects, with the right trailer unless a test changes it. Object 0
/// is the top one.
struct BinaryFile {
  std::vector<std::string> objects;
  std::size_t offsetWidth = 2;
  std::size_t referenceWidth = 1;
  std::uint64_t topObject = 0;
  std::optional<std::uint64_t> objectCount = std::nullopt;
  std::optional<std::uint64_t> tableOffset = std::nullopt;

  std::string bytes() const {
    std::string file = "bplist00";
    std::string table;
    for (const std::string& object : objects) {
      table += bigEndian(file.size(), offsetWidth);
      file += object;
    }
    const std::uint64_t tableStart = file.size();
    return file + table + bigEndian(0, 6) + bigEndian(offsetWidth, 1) +
           bigEndian(referenceWidth, 1) + bigEndian(objectCount.value_or(objects.size()), 8) +
           bigEndian(topObject, 8) + bigEndian(tableOffset.value_or(tableStart), 8);
  }
};

/// Arrays in arrays, `depth` of them.
inline PropertyList nestedArrays(int depth) {
  PropertyList value = PropertyList::Array();
  for (int i = 1; i < depth; ++i) {
    PropertyList::Array outer;
    outer.push_back(std::move(value));
    value = std::move(outer);
  }
  return value;
}

inline std::string repeated(std::string_view text, std::size_t count) {
  std::string result;
  for (std::size_t i = 0; i < count; ++i) {
    result += text;
  }
  return result;
}

}  // namespace velto
