// SPDX-License-Identifier: Apache-2.0
#include "client/ServiceConnections.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <poll.h>
#include <sys/eventfd.h>

#include "client/Failures.h"

namespace velto::alerts {
namespace {

/// No service answers with a longer message; something else does.
constexpr std::size_t kMaximumReplySize = std::size_t{1} << 30;
constexpr std::size_t kMostIdleConnections = 4;

/// What is left until the deadline; never less than nothing.
std::optional<std::chrono::milliseconds> timeUntil(
    std::optional<VarlinkClient::Deadline> deadline) {
  if (!deadline) return std::nullopt;
  const auto left = *deadline - std::chrono::steady_clock::now();
  return std::max(std::chrono::ceil<std::chrono::milliseconds>(left), std::chrono::milliseconds(0));
}

}  // namespace

std::optional<VarlinkClient::Deadline> deadlineAfter(
    std::optional<std::chrono::milliseconds> timeLimit) {
  // The clock counts nanoseconds, of which a number of milliseconds may be too many.
  constexpr auto kForever = std::chrono::hours(24 * 365 * 100);
  if (!timeLimit || *timeLimit > kForever) return std::nullopt;
  return std::chrono::steady_clock::now() + std::max(*timeLimit, std::chrono::milliseconds(0));
}

std::unique_ptr<VarlinkClient> connectToService(const std::string& path, int cancelSignal,
                                                std::optional<VarlinkClient::Deadline> deadline,
                                                std::optional<Error>& error) {
  std::optional<velto::Error> failure;
  auto connection = VarlinkClient::connect(
      path,
      {.replySize = kMaximumReplySize, .time = timeUntil(deadline), .cancelSignal = cancelSignal},
      &failure);
  if (connection == nullptr) error = errorOfConnecting(path, *failure);
  return connection;
}

ServiceConnections::ServiceConnections(std::string path)
    : path_(std::move(path)), cancelSignal_(::eventfd(0, EFD_CLOEXEC)) {}

std::unique_ptr<VarlinkClient> ServiceConnections::takeIdle() {
  const MutexLock lock(mutex_);
  while (!idle_.empty()) {
    auto connection = std::move(idle_.back());
    idle_.pop_back();
    if (!connection->isStale()) return connection;
  }
  return nullptr;
}

std::unique_ptr<VarlinkClient> ServiceConnections::connect(
    std::optional<VarlinkClient::Deadline> deadline, std::optional<Error>& error) const {
  // Without the signal nothing could end a call that waits.
  if (!cancelSignal_.isOpen()) {
    error = localError(ErrorKind::kSystem, "the client had no descriptor when it was made");
    return nullptr;
  }
  return connectToService(path_, cancelSignal_.get(), deadline, error);
}

void ServiceConnections::giveBack(std::unique_ptr<VarlinkClient> connection) {
  const MutexLock lock(mutex_);
  if (idle_.size() < kMostIdleConnections) idle_.push_back(std::move(connection));
}

void ServiceConnections::cancel() {
  ::eventfd_write(cancelSignal_.get(), 1);
}

bool ServiceConnections::isCancelled() const {
  pollfd signal{cancelSignal_.get(), POLLIN, 0};
  return ::poll(&signal, 1, 0) > 0;
}

}  // namespace velto::alerts
