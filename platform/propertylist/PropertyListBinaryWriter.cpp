// SPDX-License-Identifier: Apache-2.0
#include "platform/propertylist/PropertyListBinaryWriter.h"

#include <utility>

#include "platform/propertylist/PropertyListBinaryScalars.h"
#include "platform/propertylist/PropertyListError.h"
#include "platform/propertylist/PropertyListSerialization.h"

namespace velto {

using namespace binary_property_list;

namespace {

/// Returns the number of references to follow.
std::size_t appendContainerMarker(std::string& output, const PropertyList& container) {
  if (const PropertyList::Array* array = container.array()) {
    appendMarker(output, kArray, array->size());
    return array->size();
  }
  const std::size_t count = container.dictionary()->size();
  appendMarker(output, kDictionary, count);
  return 2 * count;
}

/// The table of offsets and the trailer.
void appendTable(std::string& output, const std::vector<std::uint64_t>& offsets,
                 std::size_t referenceWidth) {
  const std::uint64_t tableOffset = output.size();
  const std::size_t offsetWidth = widthOf(offsets.back());
  for (const std::uint64_t offset : offsets) {
    appendBigEndian(output, offset, offsetWidth);
  }
  appendBigEndian(output, 0, kTrailerOffsetWidth);
  appendBigEndian(output, offsetWidth, 1);
  appendBigEndian(output, referenceWidth, 1);
  appendBigEndian(output, offsets.size(), 8);
  appendBigEndian(output, 0, 8);  // the top object
  appendBigEndian(output, tableOffset, 8);
}

}  // namespace

std::optional<Data> PropertyListBinaryWriter::write(const PropertyList& value, ErrorSlot error) {
  PropertyListBinaryWriter writer(error);
  if (!writer.layOut(value)) return std::nullopt;
  return writer.encode();
}

bool PropertyListBinaryWriter::layOut(const PropertyList& value) {
  if (!addReference(value, 0, nullptr)) return false;
  references_.clear();  // The root is object 0 and nobody's content.
  for (std::size_t i = 0; i < objects_.size(); ++i) {
    if (!addContents(objects_[i])) return false;
  }
  return true;
}

bool PropertyListBinaryWriter::addContents(const Object& object) {
  if (object.container == nullptr) return true;
  const int depth = object.depth + 1;
  if (const PropertyList::Array* array = object.container->array()) {
    for (const PropertyList& element : *array) {
      if (!addReference(element, depth, object.key)) return false;
    }
    return true;
  }
  const PropertyList::Dictionary& dictionary = *object.container->dictionary();
  for (const auto& [key, value] : dictionary) {
    if (!addScalar(encodeString(key), object.key)) return false;
  }
  for (const auto& [key, value] : dictionary) {
    if (!addReference(value, depth, &key)) return false;
  }
  return true;
}

bool PropertyListBinaryWriter::addReference(const PropertyList& value, int depth,
                                            const std::string* key) {
  if (value.isAbsent()) return fail("an absent value", key);
  if (value.array() != nullptr || value.dictionary() != nullptr) {
    if (depth == PropertyListSerialization::kMaximumDepth) return fail("nested too deep", key);
    references_.push_back(objects_.size());
    objects_.push_back({.encoding = {}, .container = &value, .depth = depth, .key = key});
    return true;
  }
  return addScalar(encodeScalar(value), key);
}

bool PropertyListBinaryWriter::addScalar(std::optional<std::string> encoding,
                                         const std::string* key) {
  if (!encoding) return fail("a string that is not UTF-8", key);
  const auto found = scalars_.find(*encoding);
  if (found != scalars_.end() && mayShare(encoding->size())) {
    references_.push_back(found->second);
    return true;
  }
  const std::size_t number = objects_.size();
  references_.push_back(number);
  objects_.push_back(
      {.encoding = std::move(*encoding), .container = nullptr, .depth = 0, .key = nullptr});
  scalars_.try_emplace(objects_.back().encoding, number);
  return true;
}

bool PropertyListBinaryWriter::mayShare(std::size_t size) {
  if (size <= kAlwaysShared) return true;
  if (size > shareAllowance_) return false;
  shareAllowance_ -= size;
  return true;
}

/// At most.
std::size_t PropertyListBinaryWriter::encodedSize() const {
  constexpr std::size_t kForAnObject = 2 * sizeof(std::uint64_t) + 1;  // marker, count and offset
  constexpr std::size_t kAround = 64;
  std::size_t size = kAround + references_.size() * sizeof(std::uint64_t);
  for (const Object& object : objects_) {
    size += object.encoding.size() + kForAnObject;
  }
  return size;
}

/// A long scalar is not in memory once more than it must: room is made once, and what has been
/// written goes.
Data PropertyListBinaryWriter::encode() {
  const std::size_t referenceWidth = widthOf(objects_.size() - 1);
  std::vector<std::uint64_t> offsets;
  offsets.reserve(objects_.size());
  std::string output;
  output.reserve(encodedSize());
  output.append(kWrittenSignature);
  scalars_.clear();
  std::size_t nextReference = 0;
  for (Object& object : objects_) {
    offsets.push_back(output.size());
    output.append(object.encoding);
    std::string().swap(object.encoding);
    if (object.container != nullptr) {
      std::size_t count = appendContainerMarker(output, *object.container);
      for (; count > 0; --count) {
        appendBigEndian(output, references_[nextReference++], referenceWidth);
      }
    }
  }
  appendTable(output, offsets, referenceWidth);
  return Data(output);
}

bool PropertyListBinaryWriter::fail(std::string_view what, const std::string* key) {
  std::string description(what);
  if (key != nullptr) description += " under the key \"" + *key + "\"";
  propertyListFailure(error_, description);
  return false;
}

}  // namespace velto
