#include "platform/foundation/VLAlertJSON.h"

#include <string_view>

#include <boost/json.hpp>

#include "platform/foundation/PropertyListJSON.h"

namespace velto {
namespace {

void add(boost::json::object& object, std::string_view name,
         const std::optional<std::string>& text) {
  if (text) {
    object.emplace(name, *text);
  }
}

void add(boost::json::object& object, std::string_view name, const std::optional<Date>& date) {
  if (date) {
    object.emplace(name, jsonFromPropertyList(date->secondsSinceReference()));
  }
}

}  // namespace

boost::json::object jsonFromAlert(const VLAlert& alert) {
  boost::json::object object;
  object.reserve(8);
  add(object, "identifier", alert.identifier);
  add(object, "type", alert.type);
  add(object, "bundle", alert.bundle);
  add(object, "creationDate", alert.creationDate);
  add(object, "sentDate", alert.sentDate);
  add(object, "readDate", alert.readDate);
  add(object, "resolvedDate", alert.resolvedDate);
  if (alert.attributes) {
    object.emplace("attributes", jsonFromPropertyList(*alert.attributes));
  }
  return object;
}

}  // namespace velto
