// SPDX-License-Identifier: Apache-2.0
// Values of alerts' attributes, from the JSON in which the service sends them: two kinds that JSON
// lacks are objects with one reserved key.

#include <algorithm>
#include <string_view>
#include <utility>

#include "client/ReplyDecoding.h"

namespace velto::alerts {
namespace {

namespace json = boost::json;

bool decodeValue(const json::value& json, Value& value);

bool decodeDictionary(const json::object& object, Value::Dictionary& dictionary) {
  return std::all_of(object.begin(), object.end(), [&](const auto& member) {
    return decodeValue(member.value(), dictionary[std::string(member.key())]);
  });
}

template <typename T>
bool decodeAs(const json::value& json, Value& value) {
  T held;
  const bool isDecoded = decode(json, held);
  value = std::move(held);
  return isDecoded;
}

bool decodeReserved(std::string_view key, const json::value& json, Value& value) {
  if (key == "$date") return decodeAs<Date>(json, value);
  if (key == "$data") return decodeAs<Data>(json, value);
  if (key == "$absent") return json == json::value(true);
  Value::Dictionary dictionary;
  const bool isDecoded =
      key == "$dict" && json.is_object() && decodeDictionary(json.get_object(), dictionary);
  value = std::move(dictionary);
  return isDecoded;
}

bool decodeObject(const json::object& object, Value& value) {
  const auto reserved = std::find_if(object.begin(), object.end(), [](const auto& member) {
    return std::string_view(member.key()).starts_with('$');
  });
  if (reserved != object.end()) {
    return object.size() == 1 && decodeReserved(reserved->key(), reserved->value(), value);
  }
  Value::Dictionary dictionary;
  const bool isDecoded = decodeDictionary(object, dictionary);
  value = std::move(dictionary);
  return isDecoded;
}

bool decodeArray(const json::array& array, Value& value) {
  Value::Array elements(array.size());
  for (std::size_t index = 0; index < array.size(); ++index) {
    if (!decodeValue(array[index], elements[index]) || elements[index].isAbsent()) return false;
  }
  value = std::move(elements);
  return true;
}

/// A null leaves the value absent.
bool decodeValue(const json::value& json, Value& value) {
  if (json.is_object()) return decodeObject(json.get_object(), value);
  if (json.is_array()) return decodeArray(json.get_array(), value);
  if (json.is_string()) value = std::string_view(json.get_string());
  if (json.is_bool()) value = json.get_bool();
  if (json.is_int64()) value = json.get_int64();
  if (json.is_uint64()) value = json.get_uint64();
  if (json.is_double()) value = json.get_double();
  return true;
}

}  // namespace

bool decode(const json::value& json, Value::Dictionary& value) {
  Value decoded;
  if (!decodeValue(json, decoded)) return false;
  auto* const dictionary = decoded.get<Value::Dictionary>();
  if (dictionary != nullptr) value = std::move(*dictionary);
  return dictionary != nullptr;
}

}  // namespace velto::alerts
