// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/foundation/Data.h"
#include "platform/foundation/Error.h"
#include "platform/foundation/PropertyList.h"
#include "platform/propertylist/PropertyListBinaryFormat.h"

namespace velto {

/// Writes the binary form. First the value is laid out as a list of numbered objects, level by
/// level, so that how deep it is costs no stack; then, as the width of a reference is known, the
/// objects are written. An object lives for one writing; one thread at a time.
class PropertyListBinaryWriter {
 public:
  static std::optional<Data> write(const PropertyList& value, ErrorSlot error);

 private:
  struct Object {
    std::string encoding;           ///< of a scalar
    const PropertyList* container;  ///< null for a scalar
    int depth;
    const std::string* key;  ///< the nearest key on the way to it, null for none
  };

  explicit PropertyListBinaryWriter(ErrorSlot error) : error_(error) {}

  bool layOut(const PropertyList& value);
  bool addContents(const Object& object);
  bool addReference(const PropertyList& value, int depth, const std::string* key);
  bool addScalar(std::optional<std::string> encoding, const std::string* key);
  bool mayShare(std::size_t size);
  std::size_t encodedSize() const;
  Data encode();
  bool fail(std::string_view what, const std::string* key);

  const ErrorSlot error_;
  std::deque<Object> objects_;
  /// Scalars by encoding, for sharing. Ordered, since values from outside could be chosen to
  /// collide in a hash table. The keys are views into objects_.
  std::map<std::string_view, std::uint64_t> scalars_;
  std::uint64_t shareAllowance_ = binary_property_list::kUnfoldAllowance;
  /// The references of all containers, in the order of their objects.
  std::vector<std::uint64_t> references_;
};

}  // namespace velto
