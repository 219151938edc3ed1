// SPDX-License-Identifier: Apache-2.0
#include "client/ServiceCaller.h"

#include "client/Failures.h"
#include "client/ReplyMessage.h"

namespace velto::alerts {

/// One call on its way: how far it has come, in the attempt that is under way.
struct ServiceCaller::Exchange {
  const ServiceCall& call;
  const ReplyTaker& take;
  bool isSent = false;              ///< whole, so it may be carried out
  bool isAnswered = false;          ///< a reply has been taken, or was none
  bool isOver = false;              ///< the last reply has come: the connection can be used again
  std::optional<Error> error = {};  ///< the service's, of the reply before

  bool send(VarlinkClient& connection);
  bool receive(VarlinkClient& connection);
  bool takeReply(ReplyMessage reply);
  bool fail(Error failure);
  bool mayBeRepeated() const;
};

bool ServiceCaller::Exchange::send(VarlinkClient& connection) {
  std::optional<velto::Error> failure;
  isSent = connection.send(call.method, call.parameters, call.mode, &failure);
  return isSent || fail(errorOfSending(call.parameters.size(), *failure));
}

/// Receives the next reply; whether there may be more.
bool ServiceCaller::Exchange::receive(VarlinkClient& connection) {
  std::optional<velto::Error> failure;
  const auto message = connection.receive(&failure);
  if (!message) return fail(errorOfReceiving(*failure));
  isAnswered = true;
  auto reply = ReplyMessage::parse(*message);
  if (!reply) return fail(localError(ErrorKind::kBadReply, "what the service sent is no reply"));
  return takeReply(std::move(*reply));
}

bool ServiceCaller::Exchange::takeReply(ReplyMessage reply) {
  if (reply.continues && call.mode != ReplyMode::kPieces) {
    return fail(localError(ErrorKind::kBadReply, "the service sends more replies than asked for"));
  }
  if (!reply.error.empty()) {
    error = errorOfAnswer(reply.error, reply.parameters);
    isOver = !reply.continues;
    return false;
  }
  bool isUnderstood = true;
  error.reset();
  if (call.method.starts_with(kDaemonInterface)) {
    error = serviceError(reply.parameters, isUnderstood);
  }
  const Taken taken = isUnderstood ? take(reply.parameters) : Taken::kNotUnderstood;
  if (taken == Taken::kNotUnderstood) {
    return fail(localError(ErrorKind::kBadReply,
                           "the service's reply to " + call.method + " is not of its form"));
  }
  isOver = !reply.continues;
  return reply.continues && taken == Taken::kYes;
}

bool ServiceCaller::Exchange::fail(Error failure) {
  failure.mayHaveBeenCarriedOut = isSent && !call.onlyReads;
  error = std::move(failure);
  return false;
}

bool ServiceCaller::Exchange::mayBeRepeated() const {
  return error && error->kind == ErrorKind::kConnectionLost && error->domain == kClientDomain &&
         !isAnswered && (!isSent || call.onlyReads || call.options.mayBeRepeated);
}

ServiceCaller::ServiceCaller(ClientOptions options)
    : timeLimit_(options.timeLimit),
      connections_(options.socketPath.empty() ? serviceSocketPath()
                                              : std::move(options.socketPath)) {}

std::optional<VarlinkClient::Deadline> ServiceCaller::deadline(const CallOptions& options) const {
  return deadlineAfter(options.timeLimit ? options.timeLimit : timeLimit_);
}

/// Makes the call over the connection, and keeps that when it is of further use.
std::optional<Error> ServiceCaller::attempt(Exchange& exchange,
                                            std::unique_ptr<VarlinkClient> connection) {
  if (exchange.send(*connection)) {
    while (exchange.receive(*connection)) {
    }
  }
  if (exchange.isOver) connections_.giveBack(std::move(connection));
  return exchange.error;
}

std::optional<Error> ServiceCaller::call(const ServiceCall& call, const ReplyTaker& take) {
  const auto until = deadline(call.options);
  std::optional<Error> error;
  auto connection = connections_.takeIdle();
  if (connection == nullptr) connection = connections_.connect(until, error);
  if (connection == nullptr) return error;
  connection->setDeadline(until);

  Exchange exchange{.call = call, .take = take};
  error = attempt(exchange, std::move(connection));
  if (!exchange.mayBeRepeated()) return error;

  const bool mayBeCarriedOut = error->mayHaveBeenCarriedOut;
  connection = connections_.connect(until, error);
  if (connection != nullptr) {
    Exchange second{.call = call, .take = take};
    error = attempt(second, std::move(connection));
  }
  // Where the second attempt has no answer either, the first may still have been carried out.
  if (error && error->domain == kClientDomain) error->mayHaveBeenCarriedOut |= mayBeCarriedOut;
  return error;
}

}  // namespace velto::alerts
