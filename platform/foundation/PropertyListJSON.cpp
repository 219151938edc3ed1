#include "platform/foundation/PropertyListJSON.h"

#include <cmath>
#include <string_view>
#include <type_traits>
#include <utility>

#include <boost/json.hpp>

#include "platform/foundation/Base64.h"

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

json::value jsonFromDictionary(const PropertyList::Dictionary& dictionary) {
  json::object object;
  bool needsEscape = false;
  for (const auto& [key, value] : dictionary) {
    needsEscape = needsEscape || isReserved(key);
    if (!value.isAbsent()) {
      object.emplace(key, jsonFromPropertyList(value));
    }
  }
  return needsEscape ? json::value(json::object{{"$dict", std::move(object)}})
                     : json::value(std::move(object));
}

json::value jsonFromArray(const PropertyList::Array& array) {
  json::array values;
  values.reserve(array.size());
  for (const PropertyList& element : array) {
    values.push_back(jsonFromPropertyList(element));
  }
  return values;
}

/// JSON has no numbers beyond the finite ones.
json::value jsonFromReal(double real) {
  return std::isfinite(real) ? json::value(real) : json::value();
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

json::value jsonFromPropertyList(const PropertyList& value) {
  return value.visit([](const auto& held) -> json::value {
    using Held = std::decay_t<decltype(held)>;
    if constexpr (std::is_same_v<Held, std::monostate>) {
      return nullptr;
    } else if constexpr (std::is_same_v<Held, double>) {
      return jsonFromReal(held);
    } else if constexpr (std::is_same_v<Held, Date>) {
      return json::object{{"$date", jsonFromReal(held.secondsSinceReference())}};
    } else if constexpr (std::is_same_v<Held, Data>) {
      return json::object{{"$data", base64Encoded(held)}};
    } else if constexpr (std::is_same_v<Held, PropertyList::Array>) {
      return jsonFromArray(held);
    } else if constexpr (std::is_same_v<Held, PropertyList::Dictionary>) {
      return jsonFromDictionary(held);
    } else {
      return json::value(held);
    }
  });
}

}  // namespace velto
