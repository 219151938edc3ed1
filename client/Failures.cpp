// SPDX-License-Identifier: Apache-2.0
#include "client/Failures.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <utility>

#include <boost/json/serialize.hpp>

#include "client/ReplyDecoding.h"
#include "platform/connection/VarlinkClient.h"

namespace velto::alerts {
namespace {

namespace json = boost::json;

struct Answer {
  std::string_view name;
  ErrorKind kind;
  /// The parameter that says what the error is about; empty for none.
  std::string_view subject;
  std::string_view words;  ///< before the subject
};

constexpr std::array kAnswers = {
    Answer{"org.varlink.service.InvalidParameter", ErrorKind::kInvalidParameter, "parameter",
           "The service does not take the parameter"},
    Answer{"org.varlink.service.MethodNotFound", ErrorKind::kMethodNotFound, "method",
           "The service has no method"},
    Answer{"org.varlink.service.MethodNotImplemented", ErrorKind::kMethodNotImplemented, "method",
           "The service does not implement the method"},
    Answer{"org.varlink.service.InterfaceNotFound", ErrorKind::kInterfaceNotFound, "interface",
           "The service has no interface"},
    Answer{"org.varlink.service.PermissionDenied", ErrorKind::kNotPermitted, "",
           "The service does not permit this."},
    Answer{"com.ulmora.velto.AlertsMonitor.NotPermitted", ErrorKind::kNotPermitted, "",
           "Only user 0 and group 0 may watch the service."},
    Answer{"com.ulmora.velto.AlertsMonitor.NoSuchAlert", ErrorKind::kNoSuchAlert, "identifier",
           "There is no alert"},
    Answer{"com.ulmora.velto.AlertsMonitor.InvalidPosition", ErrorKind::kInvalidPosition, "",
           "The list cannot go on there."}};

/// What people are told of a Varlink error.
std::string describe(const Answer* answer, std::string_view name, const json::object& parameters) {
  if (answer == nullptr) {
    return "The service answered with " + std::string(name) +
           (parameters.empty() ? "." : ": " + json::serialize(parameters));
  }
  std::string text(answer->words);
  if (answer->subject.empty()) return text;
  const json::value* subject = parameters.if_contains(answer->subject);
  const bool isNamed = subject != nullptr && subject->is_string();
  return isNamed ? text.append(" ").append(subject->get_string()).append(".")
                 : text.append(" that it does not name.");
}

ErrorKind kindOfConnecting(std::int64_t code) {
  switch (code) {
    case ENOENT:
    case ENOTDIR:
    case ECONNREFUSED:
      return ErrorKind::kNoDaemon;
    case EACCES:
    case EPERM:
      return ErrorKind::kSocketNotPermitted;
    case kVarlinkTimedOutErrorCode:
      return ErrorKind::kTimedOut;
    case kVarlinkCancelledErrorCode:
      return ErrorKind::kClosed;
    default:
      return ErrorKind::kSystem;
  }
}

ErrorKind kindOfExchange(std::int64_t code) {
  switch (code) {
    case EPIPE:
    case ECONNRESET:
    case kVarlinkHungUpErrorCode:
      return ErrorKind::kConnectionLost;
    case kVarlinkTimedOutErrorCode:
      return ErrorKind::kTimedOut;
    case kVarlinkCancelledErrorCode:
      return ErrorKind::kClosed;
    case kVarlinkEndlessErrorCode:
      return ErrorKind::kBadReply;
    default:
      return ErrorKind::kSystem;
  }
}

}  // namespace

Error localError(ErrorKind kind, std::string description) {
  return {.kind = kind,
          .domain = kClientDomain,
          .code = static_cast<std::int64_t>(kind),
          .description = std::move(description)};
}

Error errorOfConnecting(const std::string& path, const velto::Error& failure) {
  return localError(kindOfConnecting(failure.code),
                    "cannot connect to " + path + ": " + failure.localizedDescription());
}

Error errorOfSending(std::size_t callSize, const velto::Error& failure) {
  return localError(kindOfExchange(failure.code), "cannot send the call of " +
                                                      std::to_string(callSize) +
                                                      " bytes: " + failure.localizedDescription());
}

Error errorOfReceiving(const velto::Error& failure) {
  return localError(kindOfExchange(failure.code), "no answer: " + failure.localizedDescription());
}

Error errorOfAnswer(std::string_view name, const json::object& parameters) {
  const auto* found = std::find_if(kAnswers.begin(), kAnswers.end(),
                                   [name](const Answer& answer) { return answer.name == name; });
  const Answer* answer = found == kAnswers.end() ? nullptr : found;
  Error error{.kind = answer == nullptr ? ErrorKind::kOtherAnswer : answer->kind,
              .domain = std::string(name),
              .description = describe(answer, name, parameters)};
  // Parameters that are no property list are in the description at best.
  static_cast<void>(decode(json::value(parameters), error.information));
  return error;
}

std::optional<Error> serviceError(const json::object& parameters, bool& isWellFormed) {
  isWellFormed = true;
  const json::value* value = parameters.if_contains("error");
  if (value == nullptr || value->is_null()) return std::nullopt;
  Error error;
  const json::object* object = value->if_object();
  isWellFormed = object != nullptr && decodeMember(*object, "domain", error.domain) &&
                 decodeMember(*object, "code", error.code) &&
                 decodeMember(*object, "userInfo", error.information);
  if (!isWellFormed) return std::nullopt;
  const auto words = error.information.find("NSLocalizedDescription");
  const std::string* text =
      words == error.information.end() ? nullptr : words->second.get<std::string>();
  error.description = text != nullptr && !text->empty()
                          ? *text
                          : error.domain + " error " + std::to_string(error.code);
  return error;
}

}  // namespace velto::alerts
