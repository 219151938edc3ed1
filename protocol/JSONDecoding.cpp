// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <utility>

#include "platform/foundation/Base64.h"
#include "protocol/JSONCoding.h"

namespace velto {
namespace {

namespace json = boost::json;

bool admits(const ArgumentClasses* classes, ArgumentClass wanted) {
  return classes == nullptr || classes->contains(wanted);
}

/// A member of a structure; absent when it is left out or null. What a white-list says of the
/// structure's own class does not hold for its members.
template <typename T>
bool decodeMember(const json::object& object, std::string_view name, std::optional<T>& value) {
  const json::value* found = object.if_contains(name);
  return found == nullptr || found->is_null() || decode(*found, nullptr, value.emplace());
}

/// Whether a white-list admits the value and all that it holds, as plain property-list values.
bool admitsWhole(const ArgumentClasses* classes, const json::value& value) {
  if (value.is_object()) {
    const auto& object = value.get_object();
    return admits(classes, kDictionaryClass) &&
           std::all_of(object.begin(), object.end(), [classes](const auto& member) {
             return member.value().is_null() || admitsWhole(classes, member.value());
           });
  }
  if (value.is_array()) {
    const auto& array = value.get_array();
    return admits(classes, kArrayClass) &&
           std::all_of(array.begin(), array.end(), [classes](const json::value& element) {
             return admitsWhole(classes, element);
           });
  }
  return classes == nullptr || (value.is_string() && classes->contains(kStringClass));
}

}  // namespace

bool decode(const json::value& json, const ArgumentClasses* /*classes*/, bool& value) {
  if (!json.is_bool()) {
    return false;
  }
  value = json.get_bool();
  return true;
}

bool decode(const json::value& json, const ArgumentClasses* classes, std::string& value) {
  if (!json.is_string() || !admits(classes, kStringClass)) {
    return false;
  }
  value = std::string(json.get_string());
  return true;
}

bool decode(const json::value& json, const ArgumentClasses* /*classes*/, Date& value) {
  if (!json.is_number()) {
    return false;
  }
  value = Date(json.to_number<double>());
  return true;
}

bool decode(const json::value& json, const ArgumentClasses* /*classes*/, Data& value) {
  auto data = json.is_string() ? base64Decoded(json.get_string()) : std::nullopt;
  if (!data) {
    return false;
  }
  value = std::move(*data);
  return true;
}

bool decode(const json::value& json, const ArgumentClasses* classes, VLAlert& value) {
  const json::object* object = json.if_object();
  return object != nullptr && admits(classes, kVLAlertClass) &&
         decodeMember(*object, "identifier", value.identifier) &&
         decodeMember(*object, "type", value.type) &&
         decodeMember(*object, "bundle", value.bundle) &&
         decodeMember(*object, "creationDate", value.creationDate) &&
         decodeMember(*object, "sentDate", value.sentDate) &&
         decodeMember(*object, "readDate", value.readDate) &&
         decodeMember(*object, "resolvedDate", value.resolvedDate) &&
         decodeMember(*object, "attributes", value.attributes);
}

bool decode(const json::value& json, const ArgumentClasses* /*classes*/,
            AlertBundleSettings& value) {
  const json::object* object = json.if_object();
  return object != nullptr && decodeMember(*object, "name", value.name) &&
         decodeMember(*object, "pushEnabled", value.pushEnabled) &&
         decodeMember(*object, "mailEnabled", value.mailEnabled);
}

bool decode(const json::value& json, const ArgumentClasses* classes, MailRecipient& value) {
  const json::object* object = json.if_object();
  return object != nullptr && admitsWhole(classes, json) &&
         decodeMember(*object, "address", value.address) &&
         decodeMember(*object, "locale", value.locale);
}

bool decode(const json::value& json, const ArgumentClasses* classes,
            MailRecipientOrAddress& value) {
  return json.is_object() ? decode(json, classes, value.emplace<MailRecipient>())
                          : decode(json, classes, value.emplace<std::string>());
}

bool decode(const json::value& json, const ArgumentClasses* /*classes*/, PushRecipient& value) {
  const json::object* object = json.if_object();
  return object != nullptr && decodeMember(*object, "guid", value.guid) &&
         decodeMember(*object, "token", value.token) && decodeMember(*object, "name", value.name) &&
         decodeMember(*object, "locale", value.locale) &&
         decodeMember(*object, "enabled", value.enabled);
}

bool decode(const json::value& json, const ArgumentClasses* classes,
            std::optional<PushRecipient>& value) {
  return !json.is_object() || decode(json, classes, value.emplace());
}

bool decode(const json::value& json, const ArgumentClasses* classes,
            std::map<std::string, AlertBundleSettings>& value) {
  const json::object* object = json.if_object();
  return object != nullptr && std::all_of(object->begin(), object->end(), [&](const auto& member) {
           return decode(member.value(), classes, value[std::string(member.key())]);
         });
}

bool decode(const json::value& json, const ArgumentClasses* /*classes*/,
            PropertyList::Dictionary& value) {
  auto list = propertyListFromJSON(json);
  if (!list || list->dictionary() == nullptr) {
    return false;
  }
  value = std::move(*list->dictionary());
  return true;
}

}  // namespace velto
