// SPDX-License-Identifier: Apache-2.0
#include "tools/CallCommand.h"

#include <algorithm>
#include <istream>
#include <iterator>
#include <optional>
#include <ostream>
#include <string_view>

#include <boost/json/serialize.hpp>
#include <boost/json/value.hpp>
#include <fmt/ostream.h>

#include "client/ClientConnection.h"
#include "platform/connection/JSONReader.h"
#include "platform/foundation/Paths.h"
#include "tools/PrettyJSON.h"

namespace velto {
namespace {

namespace json = boost::json;

std::string socketPath() {
  return rootedPath(fmt::format("{}/{}", kServiceSocketDirectory, VLAlertsXPCServiceName));
}

std::string fullName(const std::string& method) {
  if (method.find('.') != std::string::npos) return method;
  return fmt::format("{}.{}", VLAlertsXPCServiceName, method);
}

bool isObject(std::string_view text) {
  const std::optional<json::value> value = readJSON(text);
  return value && value->is_object();
}

/// The string at `key`, empty when there is none.
std::string_view stringAt(const json::object& object, std::string_view key) {
  const json::value* value = object.if_contains(key);
  return value != nullptr && value->is_string() ? std::string_view(value->get_string())
                                                : std::string_view();
}

/// The daemon's words on an error that came in a reply's `error`.
std::string describe(const json::object& error) {
  const json::value* code = error.if_contains("code");
  const std::string name = fmt::format("{} {}", stringAt(error, "domain"),
                                       code == nullptr ? "" : json::serialize(*code));
  const json::value* information = error.if_contains("userInfo");
  const std::string_view description =
      information != nullptr && information->is_object()
          ? stringAt(information->get_object(), "NSLocalizedDescription")
          : std::string_view();
  return description.empty() ? name : fmt::format("{} ({})", description, name);
}

/// Prints one reply, and its error if it has one.
ExitStatus print(const ClientReply& reply, std::ostream& output, std::ostream& errors) {
  if (!reply.error.empty()) {
    fmt::print(errors, "alertsctl: {} {}\n", reply.error, json::serialize(reply.parameters));
    return kExitRefused;
  }
  fmt::print(output, "{}\n", prettyJSON(reply.parameters));
  const json::value* error = reply.parameters.if_contains("error");
  if (error == nullptr || !error->is_object()) return kExitSuccess;
  fmt::print(errors, "alertsctl: {}\n", describe(error->get_object()));
  return kExitRefused;
}

ExitStatus fail(std::ostream& errors, std::string_view why) {
  fmt::print(errors, "alertsctl: {}\n", why);
  return kExitFailure;
}

}  // namespace

ExitStatus CallCommand::run(std::istream& input, std::ostream& output, std::ostream& errors) const {
  std::string text = parameters;
  if (text == "-") text.assign(std::istreambuf_iterator<char>(input), {});
  if (!text.empty() && !isObject(text)) {
    return fail(errors, "the parameters are no JSON object");
  }

  std::optional<Error> error;
  const auto connection = ClientConnection::connect(socketPath(), &error);
  if (connection == nullptr) {
    return fail(errors, error->localizedDescription() + "; is alertsd running?");
  }
  ExitStatus status = kExitSuccess;
  const auto receiver = [&](const ClientReply& reply) {
    status = std::max(status, print(reply, output, errors));
  };
  const ReplyMode mode = more ? ReplyMode::kPieces : ReplyMode::kOne;
  if (!connection->call(fullName(method), text, mode, receiver, &error)) {
    return fail(errors, error->localizedDescription());
  }
  return output.flush() ? status : fail(errors, "cannot write the reply");
}

}  // namespace velto
