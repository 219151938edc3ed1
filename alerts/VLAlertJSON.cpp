// SPDX-License-Identifier: Apache-2.0
#include "alerts/VLAlertJSON.h"

#include "platform/propertylist/PropertyListJSON.h"

namespace velto {
namespace {

constexpr MemberName kIdentifier("identifier");
constexpr MemberName kType("type");
constexpr MemberName kBundle("bundle");
constexpr MemberName kCreationDate("creationDate");
constexpr MemberName kSentDate("sentDate");
constexpr MemberName kReadDate("readDate");
constexpr MemberName kResolvedDate("resolvedDate");

void add(JSONObjectText& object, const MemberName& name, const std::optional<Date>& date) {
  if (date) {
    object.add(name, date->secondsSinceReference());
  }
}

}  // namespace

void addMembers(JSONObjectText& alert, const AlertFields& fields) {
  alert.add(kIdentifier, fields.identifier);
  alert.add(kType, fields.type);
  alert.add(kBundle, fields.bundle);
  add(alert, kCreationDate, fields.creationDate);
  add(alert, kSentDate, fields.sentDate);
  add(alert, kReadDate, fields.readDate);
  add(alert, kResolvedDate, fields.resolvedDate);
}

void appendJSON(std::string& text, const VLAlert& alert) {
  JSONObjectText object(text);
  addMembers(object, {.identifier = alert.identifier,
                      .type = alert.type,
                      .bundle = alert.bundle,
                      .creationDate = alert.creationDate,
                      .sentDate = alert.sentDate,
                      .readDate = alert.readDate,
                      .resolvedDate = alert.resolvedDate});
  object.add("attributes", alert.attributes);
  object.end();
}

}  // namespace velto
