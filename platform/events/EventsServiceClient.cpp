#include "platform/events/EventsServiceClient.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <system_error>
#include <unistd.h>
#include <utility>

#include <boost/json.hpp>

#include "platform/events/EventsReply.h"
#include "platform/foundation/TimerDescriptor.h"

namespace velto {
namespace {

constexpr std::string_view kInterface = "com.ulmora.velto.EventsDaemon.";
constexpr std::size_t kMaximumReply = std::size_t{1} << 20;

Error systemError(const std::string& path, int errorNumber) {
  return makeError(kEventsErrorDomain, errorNumber,
                   path + ": " + std::generic_category().message(errorNumber));
}

Error noReply(const std::string& path, const std::string& why) {
  return makeError(kEventsErrorDomain, kEventsNoReplyErrorCode, path + ": " + why);
}

/// One call over one connection, as far as time and the client's life allow.
class Exchange {
 public:
  Exchange(const std::string& path, int stopSignal, std::chrono::milliseconds limit)
      : path_(path),
        stopSignal_(stopSignal),
        timer_(timerExpiringAfter(limit)),
        socket_(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)) {}

  std::optional<Error> connect() {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path_.size() >= sizeof address.sun_path) {
      return systemError(path_, ENAMETOOLONG);
    }
    path_.copy(address.sun_path, path_.size());
    if (!timer_.isOpen() || !socket_.isOpen() ||
        ::connect(socket_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) !=
            0) {
      return systemError(path_, errno);
    }
    return std::nullopt;
  }

  std::optional<Error> send(std::string_view message) const {
    while (!message.empty()) {
      const ssize_t count = ::send(socket_.get(), message.data(), message.size(), MSG_NOSIGNAL);
      if (count >= 0) {
        message.remove_prefix(static_cast<std::size_t>(count));
      } else if (auto error = waitAfter(errno, POLLOUT)) {
        return error;
      }
    }
    return std::nullopt;
  }

  /// Appends to `reply` up to the NUL, which is left out.
  std::optional<Error> receive(std::string& reply) const {
    std::array<char, 4096> buffer;
    while (reply.size() < kMaximumReply) {
      const ssize_t count = ::recv(socket_.get(), buffer.data(), buffer.size(), 0);
      if (count == 0) {
        return noReply(path_, "the service hung up");
      }
      if (count < 0) {
        if (auto error = waitAfter(errno, POLLIN)) {
          return error;
        }
        continue;
      }
      const std::string_view part(buffer.data(), static_cast<std::size_t>(count));
      const std::size_t end = part.find('\0');
      reply += part.substr(0, end);
      if (end != std::string_view::npos) {
        return std::nullopt;
      }
    }
    return noReply(path_, "the service's answer has no end");
  }

 private:
  /// Waits until the call that failed so can be made again; an error when it cannot.
  std::optional<Error> waitAfter(int errorNumber, short events) const {
    if (errorNumber == EINTR) {
      return std::nullopt;
    }
    if (errorNumber != EAGAIN) {
      return systemError(path_, errorNumber);
    }
    std::array<pollfd, 3> waits = {
        {{socket_.get(), events, 0}, {timer_.get(), POLLIN, 0}, {stopSignal_, POLLIN, 0}}};
    while (::poll(waits.data(), waits.size(), -1) < 0) {
      // Interrupted; with these arguments there is no other failure.
    }
    if (waits[2].revents != 0) {
      return makeError(kEventsErrorDomain, kEventsCancelledErrorCode,
                       path_ + ": the request was given up");
    }
    if (waits[1].revents != 0) {
      return makeError(kEventsErrorDomain, kEventsTimedOutErrorCode,
                       path_ + ": the service does not answer");
    }
    return std::nullopt;
  }

  const std::string& path_;
  const int stopSignal_;
  const FileDescriptor timer_;
  const FileDescriptor socket_;
};

}  // namespace

EventsServiceClient::EventsServiceClient(std::string socketPath,
                                         std::chrono::milliseconds timeLimit)
    : socketPath_(std::move(socketPath)),
      timeLimit_(timeLimit),
      stopSignal_(::eventfd(0, EFD_CLOEXEC)) {}

EventsServiceClient::~EventsServiceClient() {
  std::thread thread;
  {
    const MutexLock lock(mutex_);
    stops_ = true;
    thread = std::move(thread_);
  }
  changed_.notify_all();
  ::eventfd_write(stopSignal_.get(), 1);
  if (thread.joinable()) {
    thread.join();
  }
}

void EventsServiceClient::loadMonitorBundleWithPath(const std::string& path, Reply reply) {
  send("LoadMonitorBundle", {{"path", path}}, std::move(reply));
}

void EventsServiceClient::enableMonitorBundleWithName(const std::string& name, Reply reply) {
  send("EnableMonitorBundle", {{"name", name}}, std::move(reply));
}

void EventsServiceClient::send(std::string_view method, boost::json::object parameters,
                               Reply reply) {
  const boost::json::object call{{"method", std::string(kInterface).append(method)},
                                 {"parameters", std::move(parameters)}};
  Request request{boost::json::serialize(call) + '\0', std::move(reply)};
  if (!add(request)) {
    request.reply(makeError(kEventsErrorDomain, EAGAIN, "No thread can be started."));
  }
}

/// False, with the request left to the caller, when there is nobody to serve it.
bool EventsServiceClient::add(Request& request) {
  const MutexLock lock(mutex_);
  if (!thread_.joinable() && !stops_) {
    try {
      thread_ = std::thread([this] { work(); });
    } catch (const std::system_error&) {
      return false;
    }
  }
  requests_.push_back(std::move(request));
  changed_.notify_all();
  return true;
}

std::optional<EventsServiceClient::Request> EventsServiceClient::next() {
  MutexLock lock(mutex_);
  while (requests_.empty() && !stops_) {
    lock.wait(changed_);
  }
  if (requests_.empty()) {
    return std::nullopt;
  }
  Request request = std::move(requests_.front());
  requests_.pop_front();
  return request;
}

void EventsServiceClient::work() {
  while (const auto request = next()) {
    request->reply(exchange(request->message));
  }
}

std::optional<Error> EventsServiceClient::exchange(const std::string& message) const {
  Exchange exchange(socketPath_, stopSignal_.get(), timeLimit_);
  std::string reply;
  auto error = exchange.connect();
  if (!error) {
    error = exchange.send(message);
  }
  if (!error) {
    error = exchange.receive(reply);
  }
  return error ? error : errorInEventsReply(reply);
}

}  // namespace velto
