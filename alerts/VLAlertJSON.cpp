// SPDX-License-Identifier: Apache-2.0
#include "alerts/VLAlertJSON.h"

#include <string_view>

#include "platform/foundation/JSONText.h"
#include "platform/propertylist/PropertyListJSON.h"

namespace velto {
namespace {

void add(JSONObjectText& object, std::string_view name, const std::optional<Date>& date) {
  if (date) {
    object.add(name, date->secondsSinceReference());
  }
}

}  // namespace

void appendJSON(std::string& text, const VLAlert& alert) {
  JSONObjectText object(text);
  object.add("identifier", alert.identifier);
  object.add("type", alert.type);
  object.add("bundle", alert.bundle);
  add(object, "creationDate", alert.creationDate);
  add(object, "sentDate", alert.sentDate);
  add(object, "readDate", alert.readDate);
  add(object, "resolvedDate", alert.resolvedDate);
  object.add("attributes", alert.attributes);
  object.end();
}

}  // namespace velto
