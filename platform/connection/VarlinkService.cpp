// SPDX-License-Identifier: Apache-2.0
#include "platform/connection/VarlinkService.h"

#include <optional>
#include <string>
#include <vector>

#include "platform/foundation/JSONText.h"
#include "platform/json/JSONSource.h"

namespace velto {
namespace {

constexpr std::string_view kServiceInterface = "org.varlink.service";

constexpr std::string_view kServiceDescription =
    R"(# What every service offers about itself, and the
# errors that any call can be answered with.
interface org.varlink.service

# Who made the service, and the names of the interfaces it offers.
method GetInfo() -> (
  vendor: string,
  product: string,
  version: string,
  url: string,
  interfaces: []string
)

# The description of one of the interfaces, in the language this text is written in.
method GetInterfaceDescription(interface: string) -> (description: string)

# The service has no such interface.
error InterfaceNotFound (interface: string)

# The interface has no such method.
error MethodNotFound (method: string)

# The interface has the method, but this service does not offer it.
error MethodNotImplemented (method: string)

# The parameter is unknown, missing, or not of its type.
error InvalidParameter (parameter: string)

# The caller may not do this.
error PermissionDenied ()

# The method can only be called with the flag 'more'.
error ExpectedMore ()
)";

CallReply failure(std::string_view error, std::string_view parameter, std::string_view value) {
  return CallReply::error(std::string(kServiceInterface).append(".").append(error), parameter,
                          value);
}

CallReply methodNotFound(std::string_view method) {
  return failure("MethodNotFound", "method", method);
}

/// A parameter that the method does not have.
CallReply unknownParameter(std::string_view name) {
  return CallReply::invalidParameter(pathWithin(name, "").substr(1));
}

CallReply info(const VarlinkCall& call, const Interface& exported) {
  JSONCursor cursor(call.parameters());
  cursor.enter();
  if (const auto name = cursor.nextMember()) return unknownParameter(*name);
  const Protocol& first = *exported.protocols().front();
  std::vector names{kServiceInterface};
  for (const Protocol* protocol : exported.protocols()) {
    names.push_back(protocol->name);
  }
  std::string text;
  JSONObjectText parameters(text);
  parameters.add("vendor", std::string_view("Velto"));
  parameters.add("product", first.product);
  parameters.add("version", first.version);
  parameters.add("url", std::string_view());
  parameters.add("interfaces", names);
  parameters.end();
  return CallReply::parameters(text);
}

CallReply interfaceNotFound(std::string_view interface) {
  return failure("InterfaceNotFound", "interface", interface);
}

CallReply descriptionOf(std::string_view interface, const Interface& exported) {
  const Protocol* protocol = exported.protocol(interface);
  if (interface != kServiceInterface && protocol == nullptr) return interfaceNotFound(interface);
  std::string text;
  JSONObjectText parameters(text);
  parameters.add("description", protocol == nullptr ? kServiceDescription : protocol->description);
  parameters.end();
  return CallReply::parameters(text);
}

CallReply interfaceDescription(const VarlinkCall& call, const Interface& exported) {
  std::optional<std::string> interface;
  JSONCursor cursor(call.parameters());
  cursor.enter();
  while (const auto name = cursor.nextMember()) {
    if (name != "interface") return unknownParameter(*name);
    interface.reset();  // of several the last counts
    if (cursor.kind() == JSONCursor::Kind::kString) {
      interface = cursor.takeString();
    } else {
      cursor.skip();
    }
  }
  return interface ? descriptionOf(*interface, exported) : CallReply::invalidParameter("interface");
}

}  // namespace

CallReply serviceReply(const VarlinkCall& call, const Interface& exported) {
  const std::size_t dot = call.method().rfind('.');
  if (dot == std::string::npos) return methodNotFound(call.method());
  const std::string_view interface = std::string_view(call.method()).substr(0, dot);
  const std::string_view method = std::string_view(call.method()).substr(dot + 1);

  if (call.upgrade()) return CallReply::invalidParameter("upgrade");
  if (interface != kServiceInterface && exported.protocol(interface) == nullptr) {
    return interfaceNotFound(interface);
  }
  if (interface == kServiceInterface && method == "GetInfo") return info(call, exported);
  if (interface == kServiceInterface && method == "GetInterfaceDescription") {
    return interfaceDescription(call, exported);
  }
  return methodNotFound(call.method());
}

CallReply notImplemented(const Interface::Row& row) {
  return failure("MethodNotImplemented", "method",
                 std::string(row.protocol->name).append(".").append(row.method->wireName));
}

}  // namespace velto
