#include <utility>

#include "platform/foundation/Base64.h"
#include "platform/foundation/VLAlertJSON.h"
#include "protocol/JSONCoding.h"

namespace velto {
namespace {

namespace json = boost::json;

json::value encodeMember(bool value) {
  return value;
}
json::value encodeMember(const std::string& value) {
  return json::value(value);
}
json::value encodeMember(const Data& value) {
  return json::value(base64Encoded(value));
}

/// An absent member is left out.
template <typename T>
void add(json::object& object, std::string_view name, const std::optional<T>& value) {
  if (value) {
    object.emplace(name, encodeMember(*value));
  }
}

}  // namespace

json::value encode(std::int64_t value) {
  return value;
}

json::value encode(std::uint64_t value) {
  return value;
}

json::value encode(const std::string& value) {
  return json::value(value);
}

json::value encode(const Error& error) {
  json::object userInfo;
  for (const auto& [key, value] : error.userInfo) {
    userInfo.emplace(key, jsonFromPropertyList(value));
  }
  return json::object{
      {"domain", error.domain}, {"code", error.code}, {"userInfo", std::move(userInfo)}};
}

json::value encode(const VLAlert& alert) {
  return jsonFromAlert(alert);
}

json::value encode(const AlertBundleSettings& settings) {
  json::object object;
  add(object, "name", settings.name);
  add(object, "pushEnabled", settings.pushEnabled);
  add(object, "mailEnabled", settings.mailEnabled);
  return object;
}

json::value encode(const MailRecipient& recipient) {
  json::object object;
  add(object, "address", recipient.address);
  add(object, "locale", recipient.locale);
  return object;
}

json::value encode(const PushRecipient& recipient) {
  json::object object;
  add(object, "guid", recipient.guid);
  add(object, "token", recipient.token);
  add(object, "name", recipient.name);
  add(object, "locale", recipient.locale);
  add(object, "enabled", recipient.enabled);
  return object;
}

}  // namespace velto
