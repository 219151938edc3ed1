// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

#include <velto/Value.h>

namespace velto::alerts {

/// What kind of failure an error is. The numbers are those of velto/alerts.h; later versions may
/// add some.
enum class ErrorKind {
  // The service answered.
  kService = 1,           ///< with an error of its own: domain, code and description are its words
  kInvalidParameter,      ///< that it does not take a parameter; the call was not carried out
  kMethodNotFound,        ///< that it has no such method
  kMethodNotImplemented,  ///< that it has the method in name only
  kInterfaceNotFound,     ///< that it does not serve the interface: it is older than the library
  kNotPermitted,          ///< that this user may not
  kNoSuchAlert,           ///< that there is no alert of that identifier
  kInvalidPosition,       ///< that `ListQuery::after` is none of its positions
  kOtherAnswer,           ///< with another Varlink error, whose name is the domain

  // There is no answer.
  kNoDaemon,            ///< nobody serves the socket
  kSocketNotPermitted,  ///< the socket's mode does not let this user in
  kTimedOut,            ///< the call's time was up
  kConnectionLost,      ///< the service ended the connection, or went away
  kClosed,              ///< the program itself closed what it waited with
  kBadReply,            ///< what came is no answer to the call
  kInvalidArgument,     ///< the call cannot be sent: text that is not UTF-8, a number without end
  kSystem,              ///< the system refused something, memory or descriptors for instance
};

/// The domain of errors without an answer; their code is the number of the kind.
inline constexpr const char* kClientDomain = "libvlalerts";

/// Why a call failed. A value.
struct Error {
  ErrorKind kind = ErrorKind::kService;
  /// The service's domain; the full name of a Varlink error; or kClientDomain.
  std::string domain = {};
  /// The service's code; 0 for a Varlink error; the kind's number in kClientDomain.
  std::int64_t code = 0;
  /// One line for people, never empty. It may hold what others have chosen: escape what is not
  /// printable before it goes to a terminal.
  std::string description = {};
  /// The user information of the service's error, or the parameters of a Varlink error.
  Value::Dictionary information = {};
  /// The call may have been carried out all the same: it was sent whole, it changes something, and
  /// no answer came.
  bool mayHaveBeenCarriedOut = false;

  bool operator==(const Error&) const = default;
};

/// What came of a call: what it answered, or why it failed, or, where the service gives part of
/// the answer along with an error, both. A successful answer without a value is one that says that
/// there is none.
template <typename T>
struct Outcome {
  std::optional<T> value = {};
  std::optional<Error> error = {};

  /// Whether the call succeeded.
  explicit operator bool() const { return !error; }
};

template <>
struct Outcome<void> {
  std::optional<Error> error = {};

  explicit operator bool() const { return !error; }
};

}  // namespace velto::alerts
