// SPDX-License-Identifier: Apache-2.0
#include "alerts/VLAlertJSON.h"

#include "platform/propertylist/PropertyListJSON.h"

namespace velto {
namespace {

void add(JSONObjectText& object, std::string_view name, const std::optional<Date>& date) {
  if (date) {
    object.add(name, date->secondsSinceReference());
  }
}

}  // namespace

void addMembers(JSONObjectText& alert, const AlertFields& fields) {
  alert.add("identifier", fields.identifier);
  alert.add("type", fields.type);
  alert.add("bundle", fields.bundle);
  add(alert, "creationDate", fields.creationDate);
  add(alert, "sentDate", fields.sentDate);
  add(alert, "readDate", fields.readDate);
  add(alert, "resolvedDate", fields.resolvedDate);
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
