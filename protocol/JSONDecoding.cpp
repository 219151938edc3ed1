// SPDX-License-Identifier: Apache-2.0
#include <memory>
#include <utility>

#include "platform/foundation/Base64.h"
#include "protocol/JSONCoding.h"
#include "protocol/JSONStructure.h"

namespace velto {
namespace {

using Kind = JSONCursor::Kind;

bool admits(const ArgumentClasses* classes, ArgumentClass wanted) {
  return classes == nullptr || classes->contains(wanted);
}

/// What a white-list says of the structure's own class does hold for the members of a plain
/// dictionary.
template <auto Member, typename Structure>
WrongPath decodePlainMember(JSONSource& source, const ArgumentClasses* classes,
                            Structure& structure) {
  return decodeOptional(source, classes, structure.*Member);
}

constexpr std::array<JSONMember<VLAlert>, 8> kAlert{{
    {"identifier", decodeMember<&VLAlert::identifier>},
    {"type", decodeMember<&VLAlert::type>},
    {"bundle", decodeMember<&VLAlert::bundle>},
    {"creationDate", decodeMember<&VLAlert::creationDate>},
    {"sentDate", decodeMember<&VLAlert::sentDate>},
    {"readDate", decodeMember<&VLAlert::readDate>},
    {"resolvedDate", decodeMember<&VLAlert::resolvedDate>},
    {"attributes", decodeMember<&VLAlert::attributes>},
}};

constexpr std::array<JSONMember<AlertBundleSettings>, 3> kSettings{{
    {"name", decodeMember<&AlertBundleSettings::name>},
    {"pushEnabled", decodeMember<&AlertBundleSettings::pushEnabled>},
    {"mailEnabled", decodeMember<&AlertBundleSettings::mailEnabled>},
}};

constexpr std::array<JSONMember<MailRecipient>, 2> kMailRecipient{{
    {"address", decodePlainMember<&MailRecipient::address>},
    {"locale", decodePlainMember<&MailRecipient::locale>},
}};

constexpr std::array<JSONMember<PushRecipient>, 5> kPushRecipient{{
    {"guid", decodeMember<&PushRecipient::guid>},
    {"token", decodeMember<&PushRecipient::token>},
    {"name", decodeMember<&PushRecipient::name>},
    {"locale", decodeMember<&PushRecipient::locale>},
    {"enabled", decodeMember<&PushRecipient::enabled>},
}};

}  // namespace

WrongPath decode(JSONSource& source, const ArgumentClasses* /*classes*/, bool& value) {
  if (source.cursor.kind() != Kind::kBool) return wrongValue(source);
  value = source.cursor.readBool();
  return std::nullopt;
}

WrongPath decode(JSONSource& source, const ArgumentClasses* classes, std::string& value) {
  if (source.cursor.kind() != Kind::kString || !admits(classes, kStringClass)) {
    return wrongValue(source);
  }
  value = source.cursor.takeString();
  return source.budget.take(heapSize(value)) ? std::nullopt : WrongPath("");
}

WrongPath decode(JSONSource& source, const ArgumentClasses* /*classes*/, std::int64_t& value) {
  if (source.cursor.kind() != Kind::kNumber) return wrongValue(source);
  const JSONNumber number = source.cursor.readNumber();
  const auto* integer = std::get_if<std::int64_t>(&number);
  if (integer == nullptr) return std::string();
  value = *integer;
  return std::nullopt;
}

WrongPath decode(JSONSource& source, const ArgumentClasses* /*classes*/, double& value) {
  if (source.cursor.kind() != Kind::kNumber) return wrongValue(source);
  value = source.cursor.readDouble();
  return std::nullopt;
}

WrongPath decode(JSONSource& source, const ArgumentClasses* classes, Date& value) {
  double seconds = 0;
  WrongPath wrong = decode(source, classes, seconds);
  value = Date(seconds);
  return wrong;
}

WrongPath decode(JSONSource& source, const ArgumentClasses* /*classes*/, Data& value) {
  if (source.cursor.kind() != Kind::kString) return wrongValue(source);
  auto data = base64Decoded(source.cursor.readString());
  if (!data || !source.budget.take(data->size())) return std::string();
  value = std::move(*data);
  return std::nullopt;
}

WrongPath decode(JSONSource& source, const ArgumentClasses* classes, VLAlert& value) {
  if (!admits(classes, kVLAlertClass)) return wrongValue(source);
  return decodeStructure(source, classes, value, kAlert);
}

WrongPath decode(JSONSource& source, const ArgumentClasses* classes, AlertBundleSettings& value) {
  return decodeStructure(source, classes, value, kSettings);
}

WrongPath decode(JSONSource& source, const ArgumentClasses* classes, MailRecipient& value) {
  if (!admits(classes, kDictionaryClass)) return wrongValue(source);
  return decodeStructure(source, classes, value, kMailRecipient);
}

WrongPath decode(JSONSource& source, const ArgumentClasses* classes,
                 MailRecipientOrAddress& value) {
  return source.cursor.kind() == Kind::kObject
             ? decode(source, classes, value.emplace<MailRecipient>())
             : decode(source, classes, value.emplace<std::string>());
}

WrongPath decode(JSONSource& source, const ArgumentClasses* classes, PushRecipient& value) {
  return decodeStructure(source, classes, value, kPushRecipient);
}

WrongPath decode(JSONSource& source, const ArgumentClasses* classes,
                 std::map<std::string, AlertBundleSettings>& value) {
  constexpr std::size_t kCost = 256;  // an entry, and what the store remembers of its record
  if (source.cursor.kind() != Kind::kObject) return wrongValue(source);
  source.cursor.enter();
  return decodeMembers(
      source, source.cursor.nextMember(), value, kCost, [](auto) { return true; },
      [classes](JSONSource& from, AlertBundleSettings& settings) {
        return decode(from, classes, settings);
      });
}

WrongPath decode(JSONSource& source, const ArgumentClasses* /*classes*/,
                 PropertyList::Dictionary& value) {
  PropertyList list;
  if (WrongPath wrong = decodePropertyList(source, list)) return wrong;
  if (list.dictionary() == nullptr) return std::string();
  value = std::move(*list.dictionary());
  return std::nullopt;
}

}  // namespace velto
