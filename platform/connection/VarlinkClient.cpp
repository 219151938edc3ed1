// SPDX-License-Identifier: Apache-2.0
#include "platform/connection/VarlinkClient.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <fcntl.h>
#include <limits>
#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <system_error>

#include "platform/foundation/JSONText.h"

namespace velto {
namespace {

constexpr std::size_t kInputChunk = std::size_t{64} * 1024;

void fail(ErrorSlot error, int code, std::string_view why) {
  setIfEmpty(error, makeError(kVarlinkClientErrorDomain, code, why));
}

void failSystemCall(ErrorSlot error, int errorNumber) {
  fail(error, errorNumber, std::generic_category().message(errorNumber));
}

void failTimedOut(ErrorSlot error) {
  fail(error, kVarlinkTimedOutErrorCode, "the service does not answer");
}

/// A socket to connect. The kernel waits for a place in the service's queue only as long as the
/// socket waits, so one whose waiting has limits does so in turns.
FileDescriptor socketToConnect(bool waitsInTurns) {
  FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  constexpr timeval kTurn{0, 50'000};
  if (waitsInTurns && ::setsockopt(socket.get(), SOL_SOCKET, SO_SNDTIMEO, &kTurn, sizeof kTurn)) {
    return {};
  }
  return socket;
}

std::string callText(std::string_view method, std::string_view parameters, ReplyMode mode) {
  std::string text = R"({"method":)";
  appendJSON(text, method);
  if (!parameters.empty()) text.append(R"(,"parameters":)").append(parameters);
  if (mode == ReplyMode::kPieces) text.append(R"(,"more":true)");
  if (mode == ReplyMode::kNone) text.append(R"(,"oneway":true)");
  text.push_back('}');
  text.push_back('\0');
  return text;
}

}  // namespace

std::unique_ptr<VarlinkClient> VarlinkClient::connect(const std::string& path, const Limits& limits,
                                                      ErrorSlot error) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof(address.sun_path)) {
    failSystemCall(error, ENAMETOOLONG);
    return nullptr;
  }
  path.copy(address.sun_path, path.size());

  const bool waitsInPoll = limits.time || limits.cancelSignal >= 0;
  FileDescriptor socket = socketToConnect(waitsInPoll);
  if (!socket.isOpen()) {
    failSystemCall(error, errno);
    return nullptr;
  }
  std::unique_ptr<VarlinkClient> client(new VarlinkClient(std::move(socket), limits));
  if (limits.time) client->setDeadline(std::chrono::steady_clock::now() + *limits.time);
  if (!client->connectTo(address, error)) {
    return nullptr;
  }
  if (waitsInPoll && ::fcntl(client->socket_.get(), F_SETFL, O_NONBLOCK) != 0) {
    failSystemCall(error, errno);
    return nullptr;
  }
  return client;
}

/// Connects, also when a signal comes in between, and waits for a place in a full queue.
bool VarlinkClient::connectTo(const sockaddr_un& address, ErrorSlot error) const {
  while (::connect(socket_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) !=
         0) {
    const int errorNumber = errno;
    if (errorNumber != EINTR && errorNumber != EAGAIN) {
      failSystemCall(error, errorNumber);
      return false;
    }
    if (!wait(0, 0, error)) return false;
  }
  return true;
}

bool VarlinkClient::send(std::string_view method, std::string_view parameters, ReplyMode mode,
                         ErrorSlot error) {
  const std::string call = callText(method, parameters, mode);
  std::string_view rest = call;
  while (!rest.empty()) {
    const ssize_t size = ::send(socket_.get(), rest.data(), rest.size(), MSG_NOSIGNAL);
    if (size >= 0) {
      rest.remove_prefix(static_cast<std::size_t>(size));
    } else if (!waitAfter(errno, POLLOUT, error)) {
      return false;
    }
  }
  return true;
}

std::optional<std::string_view> VarlinkClient::receive(ErrorSlot error) {
  auto reply = input_.next();
  while (!reply) {
    if (!receiveMore(error)) return std::nullopt;
    reply = input_.next();
    // Here as well: a service that goes on and on is never waited for.
    if (!reply && hasExpired()) {
      failTimedOut(error);
      return std::nullopt;
    }
  }
  return reply;
}

/// Waits for bytes and adds them to the input.
bool VarlinkClient::receiveMore(ErrorSlot error) {
  if (input_.size() > limits_.replySize) {
    fail(error, kVarlinkEndlessErrorCode, "the service's answer has no end");
    return false;
  }
  std::array<char, kInputChunk> chunk;
  ssize_t size = ::recv(socket_.get(), chunk.data(), chunk.size(), 0);
  while (size < 0) {
    if (!waitAfter(errno, POLLIN, error)) return false;
    size = ::recv(socket_.get(), chunk.data(), chunk.size(), 0);
  }
  if (size == 0) {
    fail(error, kVarlinkHungUpErrorCode, "the service hung up");
    return false;
  }
  input_.add({chunk.data(), static_cast<std::size_t>(size)});
  input_.keep();
  return true;
}

/// Waits until the system call that failed so can be made again; false when it cannot.
bool VarlinkClient::waitAfter(int errorNumber, short events, ErrorSlot error) const {
  if (errorNumber == EINTR) return true;
  if (errorNumber != EAGAIN) {
    failSystemCall(error, errorNumber);
    return false;
  }
  return wait(events, -1, error);
}

bool VarlinkClient::hasExpired() const {
  return deadline_ && std::chrono::steady_clock::now() >= *deadline_;
}

/// How long poll may wait, `atMost` so long unless that is negative.
int VarlinkClient::millisecondsLeft(int atMost) const {
  if (!deadline_) return atMost;
  const auto left =
      std::chrono::ceil<std::chrono::milliseconds>(*deadline_ - std::chrono::steady_clock::now());
  const auto most = atMost < 0 ? std::numeric_limits<int>::max() : atMost;
  return static_cast<int>(std::clamp<std::int64_t>(left.count(), 0, most));
}

/// Waits for the socket's events, at most `timeout` milliseconds unless it is negative; false when
/// there is no waiting any more.
bool VarlinkClient::wait(short events, int timeout, ErrorSlot error) const {
  std::array<pollfd, 2> waits = {{{socket_.get(), events, 0}, {limits_.cancelSignal, POLLIN, 0}}};
  while (::poll(waits.data(), waits.size(), millisecondsLeft(timeout)) < 0) {
    // Interrupted; with these arguments there is no other failure.
  }
  if (waits[1].revents != 0) {
    fail(error, kVarlinkCancelledErrorCode, "the request was given up");
    return false;
  }
  if (hasExpired()) {
    failTimedOut(error);
    return false;
  }
  return true;
}

bool VarlinkClient::isStale() const {
  pollfd wait{socket_.get(), POLLIN, 0};
  return input_.size() != 0 || ::poll(&wait, 1, 0) != 0;
}

}  // namespace velto
