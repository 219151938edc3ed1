// SPDX-License-Identifier: Apache-2.0
#include "platform/propertylist/PropertyListXMLReader.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <utility>

#include <pugixml.hpp>

#include "platform/propertylist/PropertyListError.h"
#include "platform/propertylist/PropertyListSerialization.h"
#include "platform/propertylist/PropertyListUnicode.h"
#include "platform/propertylist/PropertyListXMLScalars.h"
#include "platform/propertylist/PropertyListXMLText.h"

namespace velto {

using namespace xml_property_list;

namespace {

using Result = std::optional<PropertyList>;

/// Builds the value of a parsed document. The parser leaves escapes alone: it would let through
/// references that are not Unicode characters.
class XMLReader {
 public:
  XMLReader(std::string_view text, ErrorSlot error) : text_(text), error_(error) {}

  Result read();

 private:
  Result readDocument();
  Result readRoot(pugi::xml_node root);
  Result readValue(pugi::xml_node element);
  Result readContainer(pugi::xml_node element);
  Result readArray(pugi::xml_node element);
  Result readDictionary(pugi::xml_node element);
  Result readScalar(pugi::xml_node element);
  /// The next child element from `node` on, or null behind the last one; nothing when text other
  /// than white space stands before it.
  std::optional<pugi::xml_node> nextElement(pugi::xml_node node);
  std::optional<std::string> textOf(pugi::xml_node element);
  std::nullopt_t fail(std::string_view what, std::ptrdiff_t offset);
  std::nullopt_t fail(std::string_view what, pugi::xml_node node) {
    return fail(what, node.offset_debug());
  }

  const std::string_view text_;
  const ErrorSlot error_;
  pugi::xml_document document_;
  int depth_ = 0;
};

Result XMLReader::read() {
  // The parser takes a NUL for the end of the text.
  const std::size_t nul = text_.find('\0');
  if (nul != std::string_view::npos) return fail("a NUL", static_cast<std::ptrdiff_t>(nul));
  constexpr unsigned kOptions = pugi::parse_cdata | pugi::parse_eol | pugi::parse_doctype |
                                pugi::parse_ws_pcdata | pugi::parse_fragment;
  const pugi::xml_parse_result parsed =
      document_.load_buffer(text_.data(), text_.size(), kOptions, pugi::encoding_utf8);
  return parsed ? readDocument() : fail(parsed.description(), parsed.offset);
}

Result XMLReader::readDocument() {
  for (const pugi::xml_node node : document_.children()) {
    if (node.type() == pugi::node_doctype && std::strstr(node.value(), "<!ENTITY") != nullptr) {
      return fail("declarations of entities are not supported", node);
    }
  }
  const auto root = nextElement(document_.first_child());
  if (!root) return std::nullopt;
  if (!*root) return fail("no element", 0);
  const auto second = nextElement(root->next_sibling());
  if (!second) return std::nullopt;
  return *second ? fail("a second root element", *second) : readRoot(*root);
}

Result XMLReader::readRoot(pugi::xml_node root) {
  if (root.name() != std::string_view("plist")) return readValue(root);
  const auto element = nextElement(root.first_child());
  if (!element) return std::nullopt;
  if (!*element) return fail("<plist> without a value", root);
  const auto second = nextElement(element->next_sibling());
  if (!second) return std::nullopt;
  return *second ? fail("a second value in <plist>", *second) : readValue(*element);
}

Result XMLReader::readValue(pugi::xml_node element) {
  const std::string_view name = element.name();
  return name == "dict" || name == "array" ? readContainer(element) : readScalar(element);
}

Result XMLReader::readContainer(pugi::xml_node element) {
  if (depth_ == PropertyListSerialization::kMaximumDepth) return fail("nested too deep", element);
  ++depth_;
  const bool isArray = element.name() == std::string_view("array");
  Result result = isArray ? readArray(element) : readDictionary(element);
  --depth_;
  return result;
}

Result XMLReader::readArray(pugi::xml_node element) {
  PropertyList::Array array;
  pugi::xml_node next = element.first_child();
  while (true) {
    const auto child = nextElement(next);
    if (!child) return std::nullopt;
    if (!*child) return PropertyList(std::move(array));
    Result value = readValue(*child);
    if (!value) return std::nullopt;
    array.push_back(std::move(*value));
    next = child->next_sibling();
  }
}

Result XMLReader::readDictionary(pugi::xml_node element) {
  PropertyList::Dictionary dictionary;
  pugi::xml_node next = element.first_child();
  while (true) {
    const auto keyElement = nextElement(next);
    if (!keyElement) return std::nullopt;
    if (!*keyElement) return PropertyList(std::move(dictionary));
    if (keyElement->name() != std::string_view("key")) return fail("<key> expected", *keyElement);
    std::optional<std::string> key = textOf(*keyElement);
    const auto valueElement = nextElement(keyElement->next_sibling());
    if (!key || !valueElement) return std::nullopt;
    if (!*valueElement) return fail("<key> without a value", *keyElement);
    Result value = readValue(*valueElement);
    if (!value) return std::nullopt;
    dictionary.insert_or_assign(std::move(*key), std::move(*value));
    next = valueElement->next_sibling();
  }
}

template <typename Value>
Result asValue(std::optional<Value> value) {
  return value ? Result(PropertyList(std::move(*value))) : std::nullopt;
}

/// What `text` means in an element of this name; nothing when it means nothing.
Result parseScalar(std::string_view name, std::string& text) {
  if (name == "string") return PropertyList(std::move(text));
  if (name == "integer") return parseInteger(text);
  if (name == "real") return asValue(parseReal(text));
  if (name == "date") return asValue(parseDate(text));
  if (name == "data") return asValue(parseBase64(text));
  if ((name == "true" || name == "false") && trimmed(text).empty()) {
    return PropertyList(name == "true");
  }
  return std::nullopt;
}

Result XMLReader::readScalar(pugi::xml_node element) {
  std::optional<std::string> text = textOf(element);
  if (!text) return std::nullopt;
  Result value = parseScalar(element.name(), *text);
  if (value) return value;
  return fail("not a valid <" + std::string(element.name()) + ">", element);
}

std::optional<pugi::xml_node> XMLReader::nextElement(pugi::xml_node node) {
  while (node && node.type() != pugi::node_element) {
    if (!trimmed(node.value()).empty() && node.type() != pugi::node_doctype) {
      return fail("text between the elements", node);
    }
    node = node.next_sibling();
  }
  return node;
}

std::optional<std::string> XMLReader::textOf(pugi::xml_node element) {
  std::string text;
  for (const pugi::xml_node child : element.children()) {
    if (child.type() == pugi::node_element) return fail("an unexpected element", child);
    if (child.type() == pugi::node_cdata) {
      text += child.value();
    } else if (!appendXMLText(text, child.value())) {
      return fail("an unknown reference after '&'", child);
    }
  }
  return text;
}

std::nullopt_t XMLReader::fail(std::string_view what, std::ptrdiff_t offset) {
  const auto known = static_cast<std::size_t>(std::max<std::ptrdiff_t>(0, offset));
  return propertyListFailure(error_, std::string(what) + atLine(text_, known));
}

}  // namespace

std::optional<PropertyList> readXMLPropertyList(std::string_view text, ErrorSlot error) {
  return XMLReader(text, error).read();
}

}  // namespace velto
