// SPDX-License-Identifier: Apache-2.0
#include "platform/propertylist/PropertyListJSON.h"

#include <algorithm>
#include <string_view>
#include <type_traits>
#include <utility>

#include <boost/json.hpp>

#include "platform/foundation/Base64.h"
#include "platform/foundation/JSONText.h"

namespace velto {
namespace {

namespace json = boost::json;

bool isReserved(std::string_view key) {
  return key.starts_with('$');
}

std::optional<PropertyList> dictionaryFromJSON(const json::object& object) {
  PropertyList::Dictionary dictionary;
  for (const auto& [key, value] : object) {
    auto element = propertyListFromJSON(value);
    if (!element) {
      return std::nullopt;
    }
    dictionary.insert_or_assign(std::string(key), std::move(*element));
  }
  return dictionary;
}

std::optional<PropertyList> arrayFromJSON(const json::array& array) {
  PropertyList::Array values;
  values.reserve(array.size());
  for (const json::value& element : array) {
    auto value = propertyListFromJSON(element);
    if (!value || value->isAbsent()) {
      return std::nullopt;
    }
    values.push_back(std::move(*value));
  }
  return values;
}

/// An object with one reserved key, which stands for a value that JSON has no form for.
std::optional<PropertyList> reservedFromJSON(std::string_view key, const json::value& value) {
  if (key == "$date" && value.is_number()) {
    return Date(value.to_number<double>());
  }
  if (key == "$data" && value.is_string()) {
    if (auto data = base64Decoded(value.get_string())) {
      return std::move(*data);
    }
  }
  if (key == "$dict" && value.is_object()) {
    return dictionaryFromJSON(value.get_object());
  }
  if (key == "$absent" && value == json::value(true)) {
    return PropertyList();
  }
  return std::nullopt;
}

std::optional<PropertyList> objectFromJSON(const json::object& object) {
  for (const auto& member : object) {
    if (isReserved(member.key())) {
      return object.size() == 1 ? reservedFromJSON(member.key(), member.value()) : std::nullopt;
    }
  }
  return dictionaryFromJSON(object);
}

void appendMembers(std::string& text, const PropertyList::Dictionary& dictionary) {
  JSONObjectText object(text);
  for (const auto& [key, value] : dictionary) {
    if (!value.isAbsent()) {
      object.add(key, value);
    }
  }
  object.end();
}

/// An object with one reserved key.
template <typename Append>
void appendReserved(std::string& text, std::string_view key, Append append) {
  JSONObjectText object(text);
  object.beginMember(key);
  append();
  object.end();
}

}  // namespace

std::optional<PropertyList> propertyListFromJSON(const json::value& value) {
  switch (value.kind()) {
    case json::kind::null:
      return PropertyList();
    case json::kind::bool_:
      return PropertyList(value.get_bool());
    case json::kind::int64:
      return PropertyList(value.get_int64());
    case json::kind::uint64:
      return PropertyList(value.get_uint64());
    case json::kind::double_:
      return PropertyList(value.get_double());
    case json::kind::string:
      return PropertyList(std::string(value.get_string()));
    case json::kind::array:
      return arrayFromJSON(value.get_array());
    case json::kind::object:
      return objectFromJSON(value.get_object());
  }
  return std::nullopt;
}

void appendJSON(std::string& text, const PropertyList::Dictionary& value) {
  const bool hasReservedKey = std::any_of(
      value.begin(), value.end(), [](const auto& member) { return isReserved(member.first); });
  if (hasReservedKey) {
    appendReserved(text, "$dict", [&] { appendMembers(text, value); });
  } else {
    appendMembers(text, value);
  }
}

void appendJSON(std::string& text, const PropertyList& value) {
  value.visit([&](const auto& held) {
    using Held = std::decay_t<decltype(held)>;
    if constexpr (std::is_same_v<Held, std::monostate>) {
      text += "null";
    } else if constexpr (std::is_same_v<Held, Date>) {
      appendReserved(text, "$date", [&] { appendJSON(text, held.secondsSinceReference()); });
    } else if constexpr (std::is_same_v<Held, Data>) {
      appendReserved(text, "$data", [&] { appendJSON(text, base64Encoded(held)); });
    } else {
      appendJSON(text, held);
    }
  });
}

}  // namespace velto
