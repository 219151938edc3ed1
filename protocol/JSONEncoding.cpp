// SPDX-License-Identifier: Apache-2.0
#include "platform/foundation/Base64.h"
#include "protocol/JSONCoding.h"

namespace velto {

void appendJSON(std::string& text, const Error& error) {
  JSONObjectText object(text);
  object.add("domain", error.domain);
  object.add("code", std::int64_t{error.code});
  object.add("userInfo", error.userInfo);
  object.end();
}

void appendJSON(std::string& text, const AlertBundleSettings& settings) {
  JSONObjectText object(text);
  object.add("name", settings.name);
  object.add("pushEnabled", settings.pushEnabled);
  object.add("mailEnabled", settings.mailEnabled);
  object.end();
}

void appendJSON(std::string& text, const MailRecipient& recipient) {
  JSONObjectText object(text);
  object.add("address", recipient.address);
  object.add("locale", recipient.locale);
  object.end();
}

void appendJSON(std::string& text, const PushRecipient& recipient) {
  JSONObjectText object(text);
  object.add("guid", recipient.guid);
  if (recipient.token) {
    object.add("token", base64Encoded(*recipient.token));
  }
  object.add("name", recipient.name);
  object.add("locale", recipient.locale);
  object.add("enabled", recipient.enabled);
  object.end();
}

}  // namespace velto
