// SPDX-License-Identifier: Apache-2.0
// The search of PropertyListBinaryReader through the texts of a file. It goes the way that reading
// goes, and under the same limits, but makes no values: that would be most of the cost of looking
// through very many files for what few of them have.

#include "platform/propertylist/PropertyListBinaryReader.h"

namespace velto {

using namespace binary_property_list;

namespace {

class Search {
 public:
  Search(std::string_view bytes, const PropertyListBinaryReader::TextTest& test)
      : objects_(bytes, nullptr), test_(test) {}

  std::optional<bool> run() { return searchObject(objects_.top()); }

 private:
  using Container = PropertyListBinaryObjects::Container;

  std::optional<bool> searchObject(std::optional<std::uint64_t> object);
  std::optional<bool> searchContainer(Container container, bool isArray);
  std::optional<bool> isText(std::optional<std::string_view> text, bool isASCII) {
    return text ? std::optional(test_(*text, isASCII)) : std::nullopt;
  }

  PropertyListBinaryObjects objects_;
  const PropertyListBinaryReader::TextTest& test_;
};

std::optional<bool> Search::searchObject(std::optional<std::uint64_t> object) {
  const auto offset = object ? objects_.offsetOf(*object) : std::nullopt;
  if (!offset) return std::nullopt;
  switch (objects_.typeAt(*offset)) {
    case kASCIIString:
      return isText(objects_.asciiString(*offset), true);
    case kUTF16String:
      return isText(objects_.utf16Bytes(*offset), false);
    case kArray:
      return searchContainer({objects_, *object, *offset}, true);
    case kDictionary:
      return searchContainer({objects_, *object, *offset}, false);
    default:
      return false;
  }
}

/// The values of a dictionary come after its keys.
std::optional<bool> Search::searchContainer(Container container, bool isArray) {
  if (!container.isOpen()) return std::nullopt;
  const std::size_t begin = isArray ? 0 : container.count();
  std::optional<bool> found = false;
  for (std::size_t i = 0; found == false && i < container.count(); ++i) {
    found = searchObject(container[begin + i]);
  }
  return found;
}

}  // namespace

std::optional<bool> PropertyListBinaryReader::anyText(std::string_view bytes,
                                                      const TextTest& test) {
  return Search(bytes, test).run();
}

bool PropertyListBinaryReader::hasASCIITextsOnly(std::string_view bytes) {
  PropertyListBinaryObjects objects(bytes, nullptr);
  if (!objects.top()) return false;
  for (std::uint64_t object = 0; object < objects.count(); ++object) {
    const auto offset = objects.offsetOf(object);
    if (!offset || objects.typeAt(*offset) == kUTF16String) return false;
  }
  return true;
}

}  // namespace velto
