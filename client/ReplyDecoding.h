// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include <boost/json/array.hpp>
#include <boost/json/object.hpp>
#include <boost/json/value.hpp>

#include <velto/Alert.h>
#include <velto/Monitor.h>
#include <velto/Value.h>

namespace velto::alerts {

// What the service sends, as values. Each function returns false for JSON of another shape, and may
// then leave the value half made. Members that it does not know are passed over: a later service
// may send more. Any thread.

bool decode(const boost::json::value& json, bool& value);
bool decode(const boost::json::value& json, std::int64_t& value);
bool decode(const boost::json::value& json, std::string& value);
bool decode(const boost::json::value& json, Date& value);
bool decode(const boost::json::value& json, Data& value);
bool decode(const boost::json::value& json, Value::Dictionary& value);
bool decode(const boost::json::value& json, Alert& value);
bool decode(const boost::json::value& json, BundleSettings& value);
bool decode(const boost::json::value& json, MailRecipient& value);
bool decode(const boost::json::value& json, PushRecipient& value);

bool decode(const boost::json::value& json, ChannelName& value);
bool decode(const boost::json::value& json, Channel& value);
bool decode(const boost::json::value& json, Counts& value);
bool decode(const boost::json::value& json, StoreStatus& value);
bool decode(const boost::json::value& json, Status& value);
bool decode(const boost::json::value& json, ListItem& value);
bool decode(const boost::json::value& json, Action& value);
bool decode(const boost::json::value& json, HistoryEntry& value);
bool decode(const boost::json::value& json, EventKind& value);
bool decode(const boost::json::value& json, Event& value);

template <typename T>
bool decode(const boost::json::value& json, std::vector<T>& values) {
  const boost::json::array* array = json.if_array();
  if (array == nullptr) return false;
  values.reserve(array->size());
  return std::all_of(array->begin(), array->end(), [&](const boost::json::value& element) {
    return decode(element, values.emplace_back());
  });
}

template <typename T>
bool decode(const boost::json::value& json, std::map<std::string, T>& values) {
  const boost::json::object* object = json.if_object();
  return object != nullptr && std::all_of(object->begin(), object->end(), [&](const auto& member) {
           return decode(member.value(), values[std::string(member.key())]);
         });
}

/// A member that has to be there.
template <typename T>
bool decodeMember(const boost::json::object& object, std::string_view name, T& value) {
  const boost::json::value* found = object.if_contains(name);
  return found != nullptr && decode(*found, value);
}

/// One that may be left out, or null.
template <typename T>
bool decodeMember(const boost::json::object& object, std::string_view name,
                  std::optional<T>& value) {
  const boost::json::value* found = object.if_contains(name);
  return found == nullptr || found->is_null() || decode(*found, value.emplace());
}

// The replies that are more than one member.
bool decodeReply(const boost::json::object& parameters, ListPage& value);
bool decodeReply(const boost::json::object& parameters, AlertDetails& value);
bool decodeReply(const boost::json::object& parameters, Changes& value);

}  // namespace velto::alerts
