// SPDX-License-Identifier: Apache-2.0
#include "platform/events/EventsServiceClient.h"

#include <cerrno>
#include <cstddef>
#include <sys/eventfd.h>
#include <utility>

#include "platform/connection/VarlinkClient.h"
#include "platform/events/EventsReply.h"
#include "platform/foundation/JSONText.h"

namespace velto {
namespace {

constexpr std::string_view kInterface = "com.ulmora.velto.EventsDaemon.";
constexpr std::size_t kMaximumReply = std::size_t{1} << 20;

std::string parametersText(std::string_view name, const std::string& value) {
  std::string text;
  JSONObjectText parameters(text);
  parameters.add(name, value);
  parameters.end();
  return text;
}

/// This client's code for an error of the connection.
std::int64_t codeOf(const Error& failure) {
  switch (failure.code) {
    case kVarlinkTimedOutErrorCode:
      return kEventsTimedOutErrorCode;
    case kVarlinkHungUpErrorCode:
    case kVarlinkEndlessErrorCode:
      return kEventsNoReplyErrorCode;
    case kVarlinkCancelledErrorCode:
      return kEventsCancelledErrorCode;
    default:
      return failure.code;  // of a system call
  }
}

}  // namespace

EventsServiceClient::EventsServiceClient(std::string socketPath,
                                         std::chrono::milliseconds timeLimit)
    : socketPath_(std::move(socketPath)),
      timeLimit_(timeLimit),
      stopSignal_(::eventfd(0, EFD_CLOEXEC)) {}

EventsServiceClient::~EventsServiceClient() {
  ::eventfd_write(stopSignal_.get(), 1);
}

void EventsServiceClient::loadMonitorBundleWithPath(const std::string& path, ErrorReply reply) {
  request("LoadMonitorBundle", parametersText("path", path), reply);
}

void EventsServiceClient::enableMonitorBundleWithName(const std::string& name, ErrorReply reply) {
  request("EnableMonitorBundle", parametersText("name", name), reply);
}

void EventsServiceClient::request(std::string_view method, std::string parameters,
                                  const ErrorReply& reply) {
  const bool isTaken = queue_.perform([this, method = std::string(kInterface).append(method),
                                       parameters = std::move(parameters),
                                       reply] { reply(call(method, parameters)); });
  if (!isTaken) {
    reply(makeError(kEventsErrorDomain, EAGAIN, "No thread can be started."));
  }
}

/// Makes one call over a connection of its own, and waits for the reply.
std::optional<Error> EventsServiceClient::call(const std::string& method,
                                               const std::string& parameters) const {
  const VarlinkClient::Limits limits{
      .replySize = kMaximumReply, .time = timeLimit_, .cancelSignal = stopSignal_.get()};
  std::optional<Error> failure;
  const auto client = VarlinkClient::connect(socketPath_, limits, &failure);
  if (client == nullptr || !client->send(method, parameters, ReplyMode::kOne, &failure)) {
    return errorAbout(*failure);
  }
  const auto reply = client->receive(&failure);
  return reply ? errorInEventsReply(*reply) : errorAbout(*failure);
}

Error EventsServiceClient::errorAbout(const Error& failure) const {
  return makeError(kEventsErrorDomain, codeOf(failure),
                   socketPath_ + ": " + failure.localizedDescription());
}

}  // namespace velto
