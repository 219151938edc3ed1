// SPDX-License-Identifier: Apache-2.0
#include "client/CallText.h"

#include <algorithm>
#include <cmath>
#include <type_traits>
#include <utility>
#include <variant>

#include "client/Failures.h"
#include "platform/foundation/Base64.h"
#include "platform/foundation/UTF8.h"

namespace velto::alerts {

Outcome<std::string> CallText::finish() {
  parameters_.end();
  if (!problem_.empty()) return {.error = localError(ErrorKind::kInvalidArgument, problem_)};
  return {.value = std::move(text_)};
}

/// Remembers the first thing that cannot be sent.
void CallText::require(bool isGood, const char* what) {
  if (isGood || !problem_.empty()) return;
  problem_ = withoutInvalidUTF8(path_) + " " + what;
}

void CallText::put(double value) {
  require(std::isfinite(value), "is not a finite number");
  appendJSON(text_, value);
}

void CallText::put(const std::string& value) {
  require(!invalidUTF8Offset(value), "is not UTF-8 text");
  appendJSON(text_, value);
}

void CallText::put(const Data& value) {
  appendJSON(text_, base64Encoded(velto::Data(value)));
}

void CallText::put(const Value& value) {
  value.visit([this](const auto& held) {
    using Held = std::decay_t<decltype(held)>;
    if constexpr (std::is_same_v<Held, std::monostate>) {
      text_ += "null";
    } else if constexpr (std::is_same_v<Held, Date> || std::is_same_v<Held, Data>) {
      // The kinds that JSON lacks are objects with one reserved key.
      text_ += std::is_same_v<Held, Date> ? R"({"$date":)" : R"({"$data":)";
      put(held);
      text_ += '}';
    } else {
      put(held);
    }
  });
}

void CallText::put(const Value::Dictionary& value) {
  const bool hasReservedKey = std::any_of(
      value.begin(), value.end(), [](const auto& member) { return member.first.starts_with('$'); });
  if (hasReservedKey) text_ += R"({"$dict":)";
  dictionaryMembers(value);
  if (hasReservedKey) text_ += '}';
}

void CallText::dictionaryMembers(const Value::Dictionary& dictionary) {
  JSONObjectText object(text_);
  for (const auto& [key, value] : dictionary) {
    if (value.isAbsent() && absent_ == Absent::kLeftOut) continue;
    require(!invalidUTF8Offset(key), "has a key that is not UTF-8 text");
    member(object, key, value);
  }
  object.end();
}

void CallText::put(const Alert& value) {
  JSONObjectText object(text_);
  member(object, "identifier", value.identifier);
  member(object, "type", value.type);
  member(object, "bundle", value.bundle);
  member(object, "creationDate", value.creationDate);
  member(object, "sentDate", value.sentDate);
  member(object, "readDate", value.readDate);
  member(object, "resolvedDate", value.resolvedDate);
  member(object, "attributes", value.attributes);
  object.end();
}

void CallText::put(const BundleSettings& value) {
  JSONObjectText object(text_);
  member(object, "name", value.name);
  member(object, "pushEnabled", value.pushEnabled);
  member(object, "mailEnabled", value.mailEnabled);
  object.end();
}

void CallText::put(const MailRecipient& value) {
  JSONObjectText object(text_);
  member(object, "address", value.address);
  member(object, "locale", value.locale);
  object.end();
}

void CallText::put(const PushRecipient& value) {
  JSONObjectText object(text_);
  member(object, "guid", value.guid);
  member(object, "token", value.token);
  member(object, "name", value.name);
  member(object, "locale", value.locale);
  member(object, "enabled", value.enabled);
  object.end();
}

void CallText::put(const BundleSettingsMap& values) {
  JSONObjectText object(text_);
  for (const auto& [bundle, settings] : values) {
    require(!invalidUTF8Offset(bundle), "has a key that is not UTF-8 text");
    member(object, bundle, settings);
  }
  object.end();
}

}  // namespace velto::alerts
