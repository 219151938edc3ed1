// SPDX-License-Identifier: Apache-2.0
#include <cerrno>
#include <poll.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <system_error>
#include <utility>

#include <velto/Follower.h>

#include "client/ClientParts.h"
#include "client/Failures.h"
#include "client/ReplyMessage.h"
#include "platform/foundation/FileDescriptor.h"

namespace velto::alerts {

struct Follower::Parts {
  FileDescriptor closeSignal;  ///< outlives the connection, which waits for it too
  FileDescriptor descriptor;   ///< an epoll of that and the connection
  std::unique_ptr<VarlinkClient> connection;
  std::optional<Error> end;  ///< once there is nothing more to come

  bool watch(int watched) const {
    epoll_event event{.events = EPOLLIN, .data = {.fd = watched}};
    return ::epoll_ctl(descriptor.get(), EPOLL_CTL_ADD, watched, &event) == 0;
  }
  bool isClosed() const {
    pollfd signal{closeSignal.get(), POLLIN, 0};
    return ::poll(&signal, 1, 0) > 0;
  }
};

namespace {

Error notUnderstood(const char* why) {
  return localError(ErrorKind::kBadReply, std::string("what the service tells of changes ") + why);
}

/// The changes in a message, or why they are the last.
Outcome<Changes> changesIn(std::string_view message) {
  const auto reply = ReplyMessage::parse(message);
  if (!reply) return {.error = notUnderstood("is no reply")};
  if (!reply->error.empty()) return {.error = errorOfAnswer(reply->error, reply->parameters)};
  Changes changes;
  if (!decodeReply(reply->parameters, changes)) {
    return {.error = notUnderstood("is not of its form")};
  }
  if (!reply->continues) {
    return {.value = std::move(changes),
            .error = localError(ErrorKind::kConnectionLost, "the service tells no more changes")};
  }
  return {.value = std::move(changes)};
}

}  // namespace

Follower::Follower(std::unique_ptr<Parts> parts) : parts_(std::move(parts)) {}
Follower::~Follower() = default;
Follower::Follower(Follower&& other) noexcept = default;
Follower& Follower::operator=(Follower&& other) noexcept = default;

Outcome<Changes> Follower::next(std::optional<std::chrono::milliseconds> timeLimit) {
  if (parts_->isClosed()) {
    return {.error = localError(ErrorKind::kClosed, "this was closed by the program")};
  }
  if (parts_->end) return {.error = parts_->end};
  parts_->connection->setDeadline(deadlineAfter(timeLimit));
  std::optional<velto::Error> failure;
  const auto message = parts_->connection->receive(&failure);
  Outcome<Changes> outcome;
  if (message) {
    outcome = changesIn(*message);
  } else {
    outcome.error = errorOfReceiving(*failure);
  }
  const bool mayGoOn = !outcome.error || outcome.error->kind == ErrorKind::kTimedOut;
  if (!mayGoOn) parts_->end = outcome.error;
  // The last changes are told without the reason why there are no more: that is for the next call.
  if (outcome.value) outcome.error.reset();
  return outcome;
}

int Follower::descriptor() const {
  return parts_->descriptor.get();
}

void Follower::close() {
  ::eventfd_write(parts_->closeSignal.get(), 1);
}

Outcome<Follower> Client::follow(const std::optional<std::string>& bundle,
                                 const std::optional<std::string>& type,
                                 const CallOptions& options) {
  const Outcome<std::string> text = CallText().add("bundle", bundle).add("type", type).finish();
  if (!text) return {.error = text.error};
  auto parts = std::make_unique<Follower::Parts>();
  parts->closeSignal = FileDescriptor(::eventfd(0, EFD_CLOEXEC));
  parts->descriptor = FileDescriptor(::epoll_create1(EPOLL_CLOEXEC));
  std::optional<Error> error;
  const std::string& path = parts_->caller.connections().path();
  if (parts->closeSignal.isOpen() && parts->descriptor.isOpen()) {
    parts->connection =
        connectToService(path, parts->closeSignal.get(), parts_->caller.deadline(options), error);
    if (parts->connection == nullptr) return {.error = std::move(error)};
  }
  if (parts->connection == nullptr || !parts->watch(parts->closeSignal.get()) ||
      !parts->watch(parts->connection->descriptor())) {
    return {.error = localError(ErrorKind::kSystem,
                                "cannot follow: " + std::generic_category().message(errno))};
  }
  std::optional<velto::Error> failure;
  if (!parts->connection->send(std::string(kMonitorInterface) + "Follow", *text.value,
                               ReplyMode::kPieces, &failure)) {
    return {.error = errorOfSending(text.value->size(), *failure)};
  }
  return {.value = Follower(std::move(parts))};
}

}  // namespace velto::alerts
