// SPDX-License-Identifier: Apache-2.0
#include "tools/service/CallCommand.h"

#include <cstddef>
#include <cstdint>
#include <istream>
#include <iterator>
#include <memory>
#include <optional>
#include <string_view>

#include <boost/json/value.hpp>

#include "platform/connection/JSONReader.h"
#include "platform/foundation/Paths.h"
#include "tools/Verbs.h"
#include "tools/frame/Failure.h"
#include "tools/service/CallObjections.h"
#include "tools/service/InterfaceText.h"
#include "tools/service/Methods.h"
#include "tools/text/JSONProblem.h"
#include "tools/text/Message.h"
#include "tools/text/Nearest.h"
#include "tools/text/Printable.h"
#include "tools/text/SizeText.h"
#include "tools/text/TimeText.h"

namespace velto {
namespace {

namespace json = boost::json;

/// What the client library reads.
constexpr std::size_t kMaximumReplyDepth = 256;
/// The longest call that root may make, and room for its name.
constexpr std::size_t kLongestCall = (std::size_t{16} << 20) - 1024;
constexpr double kYear = 365.25 * 86400;
/// Of a page of a list.
constexpr int kMostAlerts = 1000;

std::string fullName(const std::string& method) {
  if (method.find('.') != std::string::npos) return method;
  return fmt::format("{}.{}", VLAlertsXPCServiceName, method);
}

std::string withoutInterface(const std::string& method) {
  return method.substr(method.rfind('.') + 1);
}

json::object parsedParameters(const std::string& text) {
  if (text.empty()) return {};
  if (text.size() > kLongestCall) {
    throw usageFailure(say("the call has {}; the daemon takes {}",
                           sizeText(static_cast<std::int64_t>(text.size())), "16 MiB"),
                       tr("make several calls of it"));
  }
  const auto value = readJSON(text);
  if (!value) throw usageFailure(say("the parameters are no JSON: {}", jsonProblem(text)));
  if (!value->is_object()) {
    throw usageFailure(tr("the parameters are no JSON object"), tr("write {\"name\": value}"));
  }
  return value->as_object();
}

/// Seconds since 1970 are a date in the far future here, before which everything was sent.
void refuseFarDate(const Session& session, const json::object& parameters) {
  const json::value* date = parameters.if_contains("date");
  if (date == nullptr || !date->is_number()) return;
  const alerts::Date meant(date->to_number<double>());
  if (meant.secondsSince2001() < session.now().secondsSince2001() + kYear) return;
  throw usageFailure(say("the date is {}, and all alerts would go: dates count seconds from 2001",
                         clockText(meant, true)),
                     tr("use alertsctl prune, or --yes if you mean it"));
}

/// A list that is left out is an empty one.
void refuseMissingList(const std::string& method, const json::object& parameters) {
  const std::string name = method.ends_with("Recipients") ? "recipients" : "settings";
  if (parameters.contains(name)) return;
  throw usageFailure(
      say("{} is missing, and without it all there are would go", name),
      say("write {} for none", name == "settings" ? "{\"settings\": {}}" : "{\"recipients\": []}"));
}

void refuseAccidents(const Session& session, const std::string& method,
                     const json::object& parameters) {
  if (session.ways().isSure) return;
  if (method.ends_with(".DeleteAlertsBeforeDate")) refuseFarDate(session, parameters);
  if (method.ends_with(".SetMailRecipients") || method.ends_with(".SetPushRecipients")) {
    refuseMissingList(method, parameters);
  }
}

void print(Session& session, const std::string& text) {
  const auto reply = readJSON(text, {}, kMaximumReplyDepth);
  if (!reply) return;
  const JSONForm form = session.isJSON() ? session.ways().json : JSONForm::kPretty;
  session.write(jsonText(*reply, form) + '\n');
}

/// Calls, and prints each reply's parameters.
std::optional<alerts::Error> call(Session& session, const CallCommand& command,
                                  const std::string& method, const std::string& parameters) {
  alerts::Client& client = session.client();
  if (command.more) {
    const auto take = [&session](const std::string& text) {
      print(session, text);
      session.flush();
      return true;
    };
    return client.call(method, parameters, take).error;
  }
  const auto outcome = client.call(method, parameters);
  if (outcome.value) print(session, *outcome.value);
  return outcome.error;
}

/// For people, what a value of the described type is.
std::string kindOf(std::string_view type) {
  if (type == "string") return tr("a string");
  if (type == "float") return tr("a number");
  if (type == "int") return tr("a whole number");
  if (type == "bool") return tr("true or false");
  if (type == "object") {
    return tr(
        "a text, a number, true or false, a list, an object, {\"$date\": seconds} or "
        "{\"$data\": \"base64\"}");
  }
  return type.starts_with("[]") ? tr("a list") : tr("an object");
}

/// What is added to a list is described as any values; what may be in one, where the list is set.
std::string describingMethod(const std::string& method, const std::string& path) {
  constexpr std::string_view kAdd = "Add";
  return method.starts_with(kAdd) && path.find('[') != std::string::npos
             ? "Set" + method.substr(kAdd.size())
             : method;
}

/// The daemon names the place alone; what belongs there is in the description of its interface.
void tellWhatIsWanted(Failure& failure, Session& session, const std::string& method,
                      const std::string& path) {
  if (path.ends_with(".token")) {
    failure.what = say("{} is not base64", printable(path));
    return;
  }
  if (path == "limit") {
    failure.what = say("{} must be a whole number from 1 to {}", path, kMostAlerts);
    return;
  }
  const auto place = placeInParameters(interfaceDescription(session, method),
                                       describingMethod(withoutInterface(method), path), path);
  if (!place) {
    failure.advice = "org.varlink.service.InvalidParameter";
  } else if (place->type.empty()) {
    failure.what = say("there is no {}", printable(path));
    failure.advice = suggestion(path.substr(path.rfind('.') + 1), place->neighbours);
  } else {
    failure.what = say("{} must be {}", printable(path), kindOf(place->type));
  }
}

Failure failureOfCall(Session& session, const alerts::Error& error, const std::string& method) {
  Failure failure = failureOf(error);
  if (error.kind == alerts::ErrorKind::kMethodNotFound) {
    failure.what = say("no method {}", printable(method));
    failure.advice =
        suggestion(withoutInterface(method), methodNames(interfaceDescription(session, method)));
  }
  const auto parameter = error.information.find("parameter");
  const auto* path =
      error.kind == alerts::ErrorKind::kInvalidParameter && parameter != error.information.end()
          ? parameter->second.get<std::string>()
          : nullptr;
  if (path != nullptr) tellWhatIsWanted(failure, session, method, *path);
  if (path != nullptr && (path->ends_with("Date") || *path == "date")) {
    failure.advice = tr("dates are seconds since 2001-01-01 00:00:00 UTC; 2026-01-01 is 788918400");
  }
  if (path == nullptr && failure.advice.empty() && error.domain != alerts::kClientDomain &&
      error.kind != alerts::ErrorKind::kService) {
    failure.advice = printable(error.domain);
  }
  return failure;
}

}  // namespace

ExitStatus CallCommand::run(Session& session) const {
  std::string text = parameters;
  if (text == "-") text.assign(std::istreambuf_iterator<char>(session.input()), {});
  const std::string name = fullName(method);
  const json::object written = parsedParameters(text);
  refuseAccidents(session, name, written);
  if (const auto error = call(session, *this, name, text)) {
    Failure failure = failureOfCall(session, *error, name);
    nameWhatIsMissing(failure, session, written);
    throw std::move(failure);
  }
  for (const std::string& line : objectionsToCall(session, withoutInterface(name), written)) {
    session.warn(line);
  }
  return kExitDone;
}

void addCallVerb(VerbSet& verbs) {
  const auto command = std::make_shared<CallCommand>();
  Verb verb = verbs.add({.name = "call",
                         .description = tr("Call a method and print its reply as JSON"),
                         .example = "alertsctl call GetAlertsOfBundle '{\"bundle\": \"Disk\"}'"},
                        [command](Session& session) { return command->run(session); });
  verb.argument("METHOD", command->method, tr("The method, as in PostAlert"), Need::kRequired);
  verb.argument("JSON", command->parameters,
                tr("The parameters as a JSON object; - reads it from standard input"));
  verb.flag("--more", command->more, tr("Take the reply in pieces and print each as it comes"));
}

}  // namespace velto
