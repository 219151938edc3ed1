// SPDX-License-Identifier: Apache-2.0
#include <iterator>

#include <boost/json/serialize.hpp>

#include "client/ClientParts.h"
#include "client/Failures.h"
#include "platform/foundation/Paths.h"

namespace velto::alerts {

std::string serviceSocketPath() {
  return rootedPath(
      std::string(kServiceSocketDirectory).append("/").append(VLAlertsXPCServiceName));
}

Client::Client(ClientOptions options) : parts_(std::make_unique<Parts>(std::move(options))) {}

Client::~Client() {
  parts_->caller.connections().cancel();
}

void Client::begin(std::function<void()> job, const std::function<void(Error)>& refuse) {
  const bool isTaken = parts_->background.perform([this, job = std::move(job), refuse] {
    if (parts_->caller.connections().isCancelled()) {
      refuse(localError(ErrorKind::kClosed, "the client was closed before the call was made"));
    } else {
      job();
    }
  });
  if (!isTaken) refuse(localError(ErrorKind::kSystem, "no thread can be started for the call"));
}

Outcome<void> Client::Parts::change(std::string_view method, CallText& parameters,
                                    const CallOptions& options) {
  // Whatever else the reply holds.
  struct Nothing {};
  return {.error = call<Nothing>(
                       {.method = std::string(kDaemonInterface).append(method), .options = options},
                       parameters, [](const auto&, auto&) { return true; })
                       .error};
}

Outcome<void> Client::Parts::list(std::string_view method, CallText& parameters,
                                  const AlertReceiver& receiver, const CallOptions& options) {
  Outcome<std::string> text = parameters.finish();
  if (!text) return {.error = std::move(text.error)};
  return {.error = caller.call({.method = std::string(kDaemonInterface).append(method),
                                .parameters = std::move(*text.value),
                                .mode = ReplyMode::kPieces,
                                .onlyReads = true,
                                .options = options},
                               [&receiver](const boost::json::object& reply) {
                                 std::optional<std::vector<Alert>> piece;
                                 if (!decodeMember(reply, "alerts", piece)) {
                                   return Taken::kNotUnderstood;
                                 }
                                 const bool goesOn = !piece || receiver(std::move(*piece));
                                 return goesOn ? Taken::kYes : Taken::kEnough;
                               })};
}

Outcome<std::vector<Alert>> Client::Parts::list(std::string_view method, CallText& parameters,
                                                const CallOptions& options) {
  Outcome<std::vector<Alert>> outcome;
  const auto add = [&whole = outcome.value](std::vector<Alert> piece) {
    if (!whole) whole.emplace();
    std::move(piece.begin(), piece.end(), std::back_inserter(*whole));
    return true;
  };
  outcome.error = list(method, parameters, add, options).error;
  return outcome;
}

Outcome<std::string> Client::call(const std::string& method, const std::string& parameters,
                                  const CallOptions& options) {
  Outcome<std::string> outcome;
  outcome.error =
      parts_->caller.call({.method = method, .parameters = parameters, .options = options},
                          [&outcome](const boost::json::object& reply) {
                            outcome.value = boost::json::serialize(reply);
                            return Taken::kYes;
                          });
  return outcome;
}

Outcome<void> Client::call(const std::string& method, const std::string& parameters,
                           const TextReceiver& receiver, const CallOptions& options) {
  return {.error = parts_->caller.call({.method = method,
                                        .parameters = parameters,
                                        .mode = ReplyMode::kPieces,
                                        .options = options},
                                       [&receiver](const boost::json::object& reply) {
                                         return receiver(boost::json::serialize(reply))
                                                    ? Taken::kYes
                                                    : Taken::kEnough;
                                       })};
}

}  // namespace velto::alerts
