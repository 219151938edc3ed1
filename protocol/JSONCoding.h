// SPDX-License-Identifier: Apache-2.0
#pragma once

// The coding between values and the JSON that travels on the wire. A decoder returns false (or
// nothing) for JSON of another shape; members that a structure does not know are passed over, and a
// member that is null is absent.

#include <map>
#include <optional>
#include <string>
#include <vector>

#include <boost/json.hpp>

#include "alerts/AlertBundleSettings.h"
#include "alerts/Recipients.h"
#include "alerts/VLAlert.h"
#include "alerts/VLAlertJSON.h"
#include "platform/foundation/Data.h"
#include "platform/foundation/Date.h"
#include "platform/foundation/Error.h"
#include "platform/foundation/JSONText.h"
#include "platform/foundation/PropertyList.h"
#include "platform/propertylist/PropertyListJSON.h"
#include "protocol/ArgumentClasses.h"

namespace velto {

// `classes` is the white-list of a collection argument, or null when the method has none. An array
// that it admits as an element is passed over.
bool decode(const boost::json::value& json, const ArgumentClasses* classes, bool& value);
bool decode(const boost::json::value& json, const ArgumentClasses* classes, std::string& value);
bool decode(const boost::json::value& json, const ArgumentClasses* classes, Date& value);
bool decode(const boost::json::value& json, const ArgumentClasses* classes, Data& value);
bool decode(const boost::json::value& json, const ArgumentClasses* classes, VLAlert& value);
bool decode(const boost::json::value& json, const ArgumentClasses* classes,
            AlertBundleSettings& value);
bool decode(const boost::json::value& json, const ArgumentClasses* classes, MailRecipient& value);
bool decode(const boost::json::value& json, const ArgumentClasses* classes,
            MailRecipientOrAddress& value);
bool decode(const boost::json::value& json, const ArgumentClasses* classes, PushRecipient& value);
/// Anything but a dictionary is not a recipient, which is not a mistake.
bool decode(const boost::json::value& json, const ArgumentClasses* classes,
            std::optional<PushRecipient>& value);
bool decode(const boost::json::value& json, const ArgumentClasses* classes,
            std::map<std::string, AlertBundleSettings>& value);
bool decode(const boost::json::value& json, const ArgumentClasses* classes,
            PropertyList::Dictionary& value);

template <typename T>
bool decode(const boost::json::value& json, const ArgumentClasses* classes,
            std::vector<T>& values) {
  const boost::json::array* array = json.if_array();
  if (array == nullptr) {
    return false;
  }
  values.reserve(array->size());
  for (const boost::json::value& element : *array) {
    if (element.is_array() && classes != nullptr && classes->contains(kArrayClass)) {
      std::vector<T> passedOver;
      if (!decode(element, classes, passedOver)) {
        return false;
      }
    } else if (!decode(element, classes, values.emplace_back())) {
      return false;
    }
  }
  return true;
}

void appendJSON(std::string& text, const Error& error);
void appendJSON(std::string& text, const AlertBundleSettings& settings);
void appendJSON(std::string& text, const MailRecipient& recipient);
void appendJSON(std::string& text, const PushRecipient& recipient);

}  // namespace velto
