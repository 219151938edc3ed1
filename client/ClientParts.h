// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include <velto/Client.h>

#include "client/CallText.h"
#include "client/ReplyDecoding.h"
#include "client/ServiceCaller.h"
#include "platform/foundation/SerialQueue.h"

namespace velto::alerts {

/// Whether a call changes anything.
enum class Effect { kReads, kChanges };

/// What a client is made of, and the ways in which its operations call. Any thread.
struct Client::Parts {
  explicit Parts(ClientOptions options) : caller(std::move(options)) {}

  /// One of the 26 that changes something, and is answered with an error or none.
  Outcome<void> change(std::string_view method, CallText& parameters, const CallOptions& options);
  /// One of the 26 that is answered with a value under `name`.
  template <typename T>
  Outcome<T> ask(Effect effect, std::string_view method, CallText& parameters,
                 std::string_view name, const CallOptions& options);
  /// One of the watching interface, of whose reply `decodeParameters` makes the value.
  template <typename T, typename Decode>
  Outcome<T> watch(std::string_view method, CallText& parameters, Decode decodeParameters,
                   const CallOptions& options);
  /// Lists of alerts, in pieces and whole.
  Outcome<void> list(std::string_view method, CallText& parameters, const AlertReceiver& receiver,
                     const CallOptions& options);
  Outcome<std::vector<Alert>> list(std::string_view method, CallText& parameters,
                                   const CallOptions& options);

  template <typename T, typename Decode>
  Outcome<T> call(ServiceCall call, CallText& parameters, Decode decodeParameters);

  ServiceCaller caller;
  SerialQueue background;  ///< after the caller, which its jobs use
};

template <typename T, typename Decode>
Outcome<T> Client::Parts::call(ServiceCall call, CallText& parameters, Decode decodeParameters) {
  Outcome<std::string> text = parameters.finish();
  if (!text) return {.error = std::move(text.error)};
  call.parameters = std::move(*text.value);
  Outcome<T> outcome;
  outcome.error = caller.call(call, [&](const boost::json::object& reply) {
    outcome.value.reset();
    return decodeParameters(reply, outcome.value) ? Taken::kYes : Taken::kNotUnderstood;
  });
  if (outcome.error && outcome.error->kind == ErrorKind::kBadReply) outcome.value.reset();
  return outcome;
}

template <typename T>
Outcome<T> Client::Parts::ask(Effect effect, std::string_view method, CallText& parameters,
                              std::string_view name, const CallOptions& options) {
  return call<T>({.method = std::string(kDaemonInterface).append(method),
                  .onlyReads = effect == Effect::kReads,
                  .options = options},
                 parameters, [name](const boost::json::object& reply, std::optional<T>& value) {
                   return decodeMember(reply, name, value);
                 });
}

template <typename T, typename Decode>
Outcome<T> Client::Parts::watch(std::string_view method, CallText& parameters,
                                Decode decodeParameters, const CallOptions& options) {
  return call<T>({.method = std::string(kMonitorInterface).append(method),
                  .onlyReads = true,
                  .options = options},
                 parameters,
                 [decodeParameters](const boost::json::object& reply, std::optional<T>& value) {
                   return decodeParameters(reply, value.emplace());
                 });
}

}  // namespace velto::alerts
