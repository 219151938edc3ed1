// SPDX-License-Identifier: Apache-2.0
#include "tools/service/Methods.h"

#include <boost/json/object.hpp>

#include "platform/connection/JSONReader.h"
#include "tools/PrettyJSON.h"

namespace velto {

namespace json = boost::json;

std::string interfaceDescription(Session& session, const std::string& method) {
  const json::object parameters{{"interface", method.substr(0, method.rfind('.'))}};
  const auto reply =
      session.client().call("org.varlink.service.GetInterfaceDescription", shortJSON(parameters));
  const auto value = reply.value ? readJSON(*reply.value) : std::nullopt;
  const json::value* description =
      value && value->is_object() ? value->as_object().if_contains("description") : nullptr;
  return description != nullptr && description->is_string() ? std::string(description->as_string())
                                                            : std::string();
}

}  // namespace velto
