// SPDX-License-Identifier: Apache-2.0
#include "tools/service/Methods.h"

#include <sstream>

#include <boost/json/object.hpp>

#include "platform/connection/JSONReader.h"
#include "tools/PrettyJSON.h"

namespace velto {

namespace json = boost::json;

std::vector<std::string> methodNames(Session& session, const std::string& method) {
  const json::object parameters{{"interface", method.substr(0, method.rfind('.'))}};
  const auto reply =
      session.client().call("org.varlink.service.GetInterfaceDescription", shortJSON(parameters));
  const auto value = reply.value ? readJSON(*reply.value) : std::nullopt;
  const json::value* description =
      value && value->is_object() ? value->as_object().if_contains("description") : nullptr;
  std::vector<std::string> names;
  if (description == nullptr || !description->is_string()) return names;
  std::istringstream lines(std::string(description->as_string()));
  constexpr std::string_view kMethod = "method ";
  for (std::string line; std::getline(lines, line);) {
    if (!line.starts_with(kMethod)) continue;
    names.push_back(line.substr(kMethod.size(), line.find('(') - kMethod.size()));
  }
  return names;
}

}  // namespace velto
