// SPDX-License-Identifier: Apache-2.0
#include "client/ReplyDecoding.h"

#include "platform/foundation/Base64.h"

namespace velto::alerts {
namespace json = boost::json;

bool decode(const json::value& json, bool& value) {
  if (json.is_bool()) value = json.get_bool();
  return json.is_bool();
}

bool decode(const json::value& json, std::int64_t& value) {
  if (json.is_int64()) value = json.get_int64();
  return json.is_int64();
}

bool decode(const json::value& json, std::string& value) {
  if (json.is_string()) value = json.get_string();
  return json.is_string();
}

bool decode(const json::value& json, Date& value) {
  if (json.is_number()) value = Date(json.to_number<double>());
  return json.is_number();
}

bool decode(const json::value& json, Data& value) {
  auto data = json.is_string() ? base64Decoded(json.get_string()) : std::nullopt;
  if (data) value = data->bytes();
  return data.has_value();
}

bool decode(const json::value& json, Alert& value) {
  const json::object* object = json.if_object();
  return object != nullptr && decodeMember(*object, "identifier", value.identifier) &&
         decodeMember(*object, "type", value.type) &&
         decodeMember(*object, "bundle", value.bundle) &&
         decodeMember(*object, "creationDate", value.creationDate) &&
         decodeMember(*object, "sentDate", value.sentDate) &&
         decodeMember(*object, "readDate", value.readDate) &&
         decodeMember(*object, "resolvedDate", value.resolvedDate) &&
         decodeMember(*object, "attributes", value.attributes);
}

bool decode(const json::value& json, BundleSettings& value) {
  const json::object* object = json.if_object();
  return object != nullptr && decodeMember(*object, "name", value.name) &&
         decodeMember(*object, "pushEnabled", value.pushEnabled) &&
         decodeMember(*object, "mailEnabled", value.mailEnabled);
}

bool decode(const json::value& json, MailRecipient& value) {
  const json::object* object = json.if_object();
  return object != nullptr && decodeMember(*object, "address", value.address) &&
         decodeMember(*object, "locale", value.locale);
}

bool decode(const json::value& json, PushRecipient& value) {
  const json::object* object = json.if_object();
  return object != nullptr && decodeMember(*object, "guid", value.guid) &&
         decodeMember(*object, "token", value.token) && decodeMember(*object, "name", value.name) &&
         decodeMember(*object, "locale", value.locale) &&
         decodeMember(*object, "enabled", value.enabled);
}

}  // namespace velto::alerts
