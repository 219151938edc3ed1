// SPDX-License-Identifier: Apache-2.0
#include "tools/service/CallObjections.h"

#include <algorithm>
#include <initializer_list>
#include <string_view>

#include "tools/settings/BundleNames.h"
#include "tools/text/Message.h"
#include "tools/text/Nearest.h"
#include "tools/text/Printable.h"

namespace velto {
namespace {

namespace json = boost::json;

bool hasText(const json::value& element, std::string_view name) {
  const json::value* text = element.is_object() ? element.as_object().if_contains(name) : nullptr;
  return text != nullptr && text->is_string();
}

/// The daemon passes over recipients that nobody could be reached by.
std::vector<std::string> incompleteRecipients(const json::object& parameters,
                                              std::initializer_list<std::string_view> needed,
                                              bool mayBeText) {
  std::vector<std::string> objections;
  const json::value* list = parameters.if_contains("recipients");
  if (list == nullptr || !list->is_array()) return objections;
  std::size_t index = 0;
  for (const json::value& element : list->as_array()) {
    const bool isText = mayBeText && element.is_string();
    const auto* missing = std::find_if(needed.begin(), needed.end(), [&](std::string_view name) {
      return !hasText(element, name);
    });
    if (!isText && missing != needed.end()) {
      objections.push_back(say("recipients[{}] has no {}, and is passed over", index, *missing));
    }
    ++index;
  }
  return objections;
}

/// A switch that is left out is off, and so is what no bundle has.
std::vector<std::string> objectionsToSettings(Session& session, const json::object& parameters) {
  std::vector<std::string> objections;
  const json::value* settings = parameters.if_contains("settings");
  if (settings == nullptr || !settings->is_object()) return objections;
  const auto names = knownBundles(session);
  for (const auto& [name, switches] : settings->as_object()) {
    if (std::find(names.begin(), names.end(), std::string_view(name)) == names.end()) {
      objections.push_back(say("there is no bundle {}, and nothing is set", printable(name)));
      continue;
    }
    for (const std::string_view one : {"mailEnabled", "pushEnabled"}) {
      if (switches.is_object() && !switches.as_object().contains(one)) {
        objections.push_back(
            say("settings.{}.{} is left out, and that is off", printable(name), one));
      }
    }
  }
  return objections;
}

std::string textOf(const json::object& parameters, std::string_view name) {
  const json::value* text = parameters.if_contains(name);
  return std::string(text != nullptr && text->is_string() ? text->as_string() : "");
}

/// What may be meant by a bundle, for people.
std::string namesLike(Session& session, const std::string& bundle) {
  const std::string meant = suggestion(bundle, knownBundles(session));
  return meant.empty() ? tr("see alertsctl bundles") : meant;
}

std::vector<std::string> unknownBundle(Session& session, const json::object& parameters) {
  const std::string bundle = textOf(parameters, "bundle");
  const auto names = knownBundles(session);
  if (bundle.empty() || std::find(names.begin(), names.end(), bundle) != names.end()) return {};
  return {say("there is no bundle {}", printable(bundle)) + "; " + namesLike(session, bundle)};
}

}  // namespace

std::vector<std::string> objectionsToCall(Session& session, const std::string& method,
                                          const json::object& parameters) {
  if (method == "AddMailRecipients" || method == "SetMailRecipients") {
    return incompleteRecipients(parameters, {"address"}, true);
  }
  if (method == "AddPushRecipients") {
    return incompleteRecipients(parameters, {"guid", "token"}, false);
  }
  if (method == "GetAlertsOfBundle" || method == "GetLastAlertOfBundle") {
    return unknownBundle(session, parameters);
  }
  if (method == "SetAlertBundleSettings") return objectionsToSettings(session, parameters);
  return {};
}

void nameWhatIsMissing(Failure& failure, Session& session, const json::object& parameters) {
  if (!failure.error || failure.error->domain != "VeltoAlertsStore" || !failure.advice.empty()) {
    return;
  }
  if (const std::string alert = textOf(parameters, "alertId"); !alert.empty()) {
    failure.advice = say("there is no alert {}", printable(alert));
  } else if (const std::string bundle = textOf(parameters, "bundle"); !bundle.empty()) {
    failure.advice = namesLike(session, bundle);
  }
}

}  // namespace velto
