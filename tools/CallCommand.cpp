// SPDX-License-Identifier: Apache-2.0
#include "tools/CallCommand.h"

#include <cstddef>
#include <istream>
#include <iterator>
#include <optional>
#include <ostream>
#include <string_view>

#include <boost/json/value.hpp>
#include <fmt/ostream.h>

#include <velto/Client.h>

#include "platform/connection/JSONReader.h"
#include "platform/foundation/Error.h"
#include "platform/foundation/Paths.h"
#include "tools/PrettyJSON.h"

namespace velto {
namespace {

namespace json = boost::json;

/// What the client library reads.
constexpr std::size_t kMaximumReplyDepth = 256;

std::string fullName(const std::string& method) {
  if (method.find('.') != std::string::npos) return method;
  return fmt::format("{}.{}", VLAlertsXPCServiceName, method);
}

bool isObject(std::string_view text) {
  const std::optional<json::value> value = readJSON(text);
  return value && value->is_object();
}

/// Calls, and prints each reply's parameters.
std::optional<alerts::Error> call(alerts::Client& client, const CallCommand& command,
                                  const std::string& parameters, std::ostream& output) {
  const auto print = [&output](const std::string& text) {
    if (const auto reply = readJSON(text, {}, kMaximumReplyDepth)) {
      fmt::print(output, "{}\n", prettyJSON(*reply));
    }
    return true;
  };
  if (command.more) return client.call(fullName(command.method), parameters, print).error;
  const auto outcome = client.call(fullName(command.method), parameters);
  if (outcome.value) print(*outcome.value);
  return outcome.error;
}

bool isAnswer(const alerts::Error& error) {
  return error.domain != alerts::kClientDomain;
}

/// Why the call failed, in one line.
std::string describe(const alerts::Error& error) {
  switch (error.kind) {
    case alerts::ErrorKind::kService: {
      const std::string name = fmt::format("{} {}", error.domain, error.code);
      return error.information.contains(NSLocalizedDescriptionKey)
                 ? fmt::format("{} ({})", error.description, name)
                 : name;
    }
    case alerts::ErrorKind::kNoDaemon:
      return error.description + "; is alertsd running?";
    default:
      return isAnswer(error) ? fmt::format("{} ({})", error.description, error.domain)
                             : error.description;
  }
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
  // As long as it takes: whoever waits can see, and interrupt it.
  alerts::Client client({.timeLimit = std::nullopt});
  const auto error = call(client, *this, text, output);
  if (error) fail(errors, describe(*error));
  if (error && !isAnswer(*error)) return kExitFailure;
  if (!output.flush()) return fail(errors, "cannot write the reply");
  return error ? kExitRefused : kExitSuccess;
}

}  // namespace velto
