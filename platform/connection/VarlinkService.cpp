#include "platform/connection/VarlinkService.h"

#include <utility>

#include <boost/json/array.hpp>
#include <boost/json/serialize.hpp>

namespace velto {
namespace {

namespace json = boost::json;

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
  return {errorReply(std::string(kServiceInterface).append(".").append(error), parameter, value),
          nullptr};
}

CallReply invalidParameter(std::string_view name) {
  return failure("InvalidParameter", "parameter", name);
}

CallReply methodNotFound(std::string_view method) {
  return failure("MethodNotFound", "method", method);
}

/// A reply of one message.
CallReply reply(std::string parameters) {
  return {{}, [parameters = std::move(parameters)](std::string& text) {
            text.append(parameters);
            return false;
          }};
}

std::string infoOf(const Protocol& protocol) {
  return json::serialize(json::object{{"vendor", "Velto"},
                                      {"product", "Velto Alerts Daemon"},
                                      {"version", VELTO_VERSION},
                                      {"url", ""},
                                      {"interfaces", {kServiceInterface, protocol.name}}});
}

}  // namespace

VarlinkService::VarlinkService(const Protocol& protocol)
    : protocol_(protocol), info_(infoOf(protocol)) {
  for (const ProtocolMethod& method : protocol.methods) {
    methods_.emplace(method.wireName, &method);
  }
}

void VarlinkService::dispatch(const VarlinkCall& call, const Interface& exported,
                              ExportedObject& object, const ReplyHandler& handler) const {
  const std::size_t dot = call.method().rfind('.');
  if (dot == std::string_view::npos) return handler(methodNotFound(call.method()));
  const std::string_view interface = call.method().substr(0, dot);
  const std::string_view method = call.method().substr(dot + 1);

  if (call.upgrade()) return handler(invalidParameter("upgrade"));
  if (interface == kServiceInterface) return handler(serviceCall(method, call));
  if (interface != protocol_.name) {
    return handler(failure("InterfaceNotFound", "interface", interface));
  }
  const auto found = methods_.find(method);
  if (found == methods_.end()) return handler(methodNotFound(call.method()));
  const ProtocolMethod& row = *found->second;
  row.invoke(
      {.object = object,
       .parameters = call.parameters(),
       .classes = exported.classes(row.selector, 0),
       .more = call.more()},
      [this, &row, handler](InvocationResult result) { handler(replyOf(std::move(result), row)); });
}

bool VarlinkService::isQuick(const VarlinkCall& call) const {
  const auto found = methods_.find(call.method().substr(call.method().rfind('.') + 1));
  return found == methods_.end() || found->second->isQuick;
}

CallReply VarlinkService::replyOf(InvocationResult result, const ProtocolMethod& method) const {
  switch (result.kind) {
    case InvocationResult::Kind::kInvalidParameter:
      return invalidParameter(result.parameter);
    case InvocationResult::Kind::kNotImplemented:
      return failure("MethodNotImplemented", "method",
                     std::string(protocol_.name).append(".").append(method.wireName));
    case InvocationResult::Kind::kReplied:
      break;
  }
  return {{}, std::move(result.reply)};
}

CallReply VarlinkService::serviceCall(std::string_view method, const VarlinkCall& call) const {
  if (method == "GetInterfaceDescription") return interfaceDescription(call);
  if (method != "GetInfo") return methodNotFound(call.method());
  return call.parameters().empty() ? reply(info_)
                                   : invalidParameter(call.parameters().begin()->key());
}

CallReply VarlinkService::interfaceDescription(const VarlinkCall& call) const {
  for (const auto& member : call.parameters()) {
    if (member.key() != "interface") return invalidParameter(member.key());
  }
  const json::value* name = call.parameters().if_contains("interface");
  if (name == nullptr || !name->is_string()) return invalidParameter("interface");

  const std::string_view interface = name->get_string();
  if (interface != kServiceInterface && interface != protocol_.name) {
    return failure("InterfaceNotFound", "interface", interface);
  }
  const std::string_view description =
      interface == kServiceInterface ? kServiceDescription : protocol_.description;
  return reply(json::serialize(json::object{{"description", description}}));
}

}  // namespace velto
