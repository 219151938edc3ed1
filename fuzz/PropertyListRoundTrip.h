// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string_view>

#include "platform/foundation/PropertyList.h"
#include "platform/propertylist/PropertyListBinaryReader.h"
#include "platform/propertylist/PropertyListBinaryWriter.h"

namespace velto::fuzz {

/// The numbers as a value that equals itself, which one that is not a number does not.
inline bool sameNumber(double a, double b) {
  return a == b || (a != a && b != b);
}

inline bool sameValue(const PropertyList& a, const PropertyList& b);

inline bool sameArray(const PropertyList::Array& a, const PropertyList::Array& b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (!sameValue(a[i], b[i])) return false;
  }
  return true;
}

inline bool sameDictionary(const PropertyList::Dictionary& a, const PropertyList::Dictionary& b) {
  if (a.size() != b.size()) return false;
  for (const auto& [key, value] : a) {
    const PropertyList* other = valueForKey(b, key);
    if (other == nullptr || !sameValue(value, *other)) return false;
  }
  return true;
}

/// Equality in which a number that is none equals another.
inline bool sameValue(const PropertyList& a, const PropertyList& b) {
  if (a.array() != nullptr && b.array() != nullptr) return sameArray(*a.array(), *b.array());
  if (a.dictionary() != nullptr && b.dictionary() != nullptr) {
    return sameDictionary(*a.dictionary(), *b.dictionary());
  }
  if (a.real() != nullptr && b.real() != nullptr) return sameNumber(*a.real(), *b.real());
  if (a.date() != nullptr && b.date() != nullptr) {
    return sameNumber(a.date()->secondsSinceReference(), b.date()->secondsSinceReference());
  }
  return a == b;
}

inline void require(bool condition, const char* what) {
  if (condition) return;
  std::fprintf(stderr, "broken: %s\n", what);
  std::abort();
}

/// What every reader has to hold to: a value or an error, never both or neither, and a value that
/// can be written reads back equal. `mustWrite` says that the reader makes no absent values, so
/// that writing cannot fail.
inline void checkReading(const std::optional<PropertyList>& value,
                         const std::optional<Error>& readError, bool mustWrite) {
  require(value.has_value() != readError.has_value(), "a value or an error");
  if (!value) return;
  std::optional<Error> error;
  const std::optional<Data> written = PropertyListBinaryWriter::write(*value, &error);
  require(written.has_value() != error.has_value(), "bytes or an error");
  require(written.has_value() || !mustWrite, "what was read can be written");
  if (!written) return;
  const std::optional<PropertyList> again = PropertyListBinaryReader::read(written->view(), &error);
  require(again.has_value(), "what was written can be read");
  require(sameValue(*value, *again), "what was written reads back equal");
}

/// The input as text.
inline std::string_view inputText(const std::uint8_t* data, std::size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

}  // namespace velto::fuzz
