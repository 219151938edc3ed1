// SPDX-License-Identifier: Apache-2.0
#include "platform/connection/Listener.h"

#include <cerrno>
#include <chrono>
#include <cstdint>
#include <exception>
#include <string>
#include <sys/socket.h>
#include <thread>
#include <tuple>
#include <unistd.h>
#include <utility>

#include "platform/connection/ListeningSocket.h"
#include "platform/connection/RunLoop.h"
#include "platform/connection/SocketConnection.h"
#include "platform/foundation/Paths.h"
#include "platform/foundation/TimerDescriptor.h"
#include "platform/identity/GuestTable.h"

namespace velto {
namespace {

/// How long to wait when there are no descriptors, or no memory, for another client. It occupies
/// one thread, which is not needed for anything else then.
constexpr std::chrono::milliseconds kRetryTime{5};
/// So many clients may wait at the door. The others wait in connect(), in their order, one for each
/// thread that connects: so one user's thread cannot put thousands before the next user.
constexpr int kQueue = 256;
/// So many clients are let in before others have their turn.
constexpr int kAcceptedATurn = 16;

}  // namespace

/// The listening socket, waiting for clients.
class Listener::Door : public EventSource {
 public:
  Door(RunLoop& runLoop, FileDescriptor socket, ConnectionTable& table, ServiceCounts& counts,
       Admission& admission)
      : EventSource(std::move(socket)),
        runLoop_(runLoop),
        table_(table),
        counts_(counts),
        admission_(admission) {
    ::listen(descriptor(), kQueue);
  }

  Event serve() noexcept override {
    for (int accepted = 0; accepted < kAcceptedATurn; ++accepted) {
      // Counted before anybody looks whether the run loop is to stop, so that it does not end
      // between a client's leaving the socket's queue and its having a connection.
      const RunLoop::Newcomer whoeverComes(runLoop_);
      // Whoever comes now waits in the socket's queue, for the next start where somebody keeps it.
      if (runLoop_.isStopping()) return Event::kNone;
      if (!acceptOne()) return Event::kInput;
    }
    return Event::kTurn;
  }

 private:
  /// False when there is nobody at the door, or no means to let anybody in.
  bool acceptOne() noexcept {
    FileDescriptor client(::accept4(descriptor(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
    if (client.isOpen()) {
      letIn(std::move(client));
      return true;
    }
    if (errno == EINTR || errno == ECONNABORTED) return true;
    if (errno != EAGAIN) std::this_thread::sleep_for(kRetryTime);
    return false;
  }

  void letIn(FileDescriptor client) noexcept {
    try {
      const std::optional<AuditToken> token = auditTokenOfPeer(client.get());
      if (!token) return;
      // Admitted when its first event is served, so that admissions overlap.
      runLoop_.add(std::make_unique<SocketConnection>(std::move(client), *token, runLoop_, table_,
                                                      counts_, admission_),
                   Event::kOutput);
    } catch (const std::exception&) {
      // No means to serve this client: it finds its connection closed.
    }
  }

  RunLoop& runLoop_;
  ConnectionTable& table_;
  ServiceCounts& counts_;
  Admission& admission_;
};

/// The timer at whose end the connections are looked through that wait for their clients. It is
/// only set while there are some.
class Listener::Watch : public EventSource {
 public:
  explicit Watch(ConnectionTable& table) : EventSource(idleTimer()), table_(table) {
    table_.setAlarm([timer = descriptor()](auto time) { setTimer(timer, time); });
  }
  ~Watch() override { table_.setAlarm({}); }

  Event serve() noexcept override {
    std::uint64_t expirations = 0;
    std::ignore = ::read(descriptor(), &expirations, sizeof expirations);
    if (const auto next = table_.endOverdue(std::chrono::steady_clock::now())) {
      setTimer(descriptor(), *next);
    }
    return Event::kInput;
  }

 private:
  ConnectionTable& table_;
};

class Listener::Implementation : public Admission {
 public:
  Implementation(Listener& listener, RunLoop& runLoop, GuestTable& guests, ListeningSocket socket,
                 const ConnectionLimits& limits)
      : listener_(listener),
        runLoop_(runLoop),
        guests_(guests),
        lock_(std::move(socket.lock)),
        table_(makeRoomForConnections(), limits),
        door_(std::make_unique<Door>(runLoop_, std::move(socket.socket), table_, counts_, *this)) {}

  void setDelegate(ListenerDelegate* delegate) { delegate_ = delegate; }
  const ServiceCounts& counts() const { return counts_; }
  void resume() {
    runLoop_.add(std::make_unique<Watch>(table_), Event::kInput);
    runLoop_.add(std::move(door_), Event::kInput);
  }

  bool admit(SocketConnection& connection) override {
    // Admission is the only time at which anybody asks who is behind the token.
    const GuestTable::Entry guest(guests_, connection.auditToken(), connection.descriptor());
    return delegate_->shouldAcceptNewConnection(listener_, connection) && connection.isResumed();
  }
  void refuse(const SocketConnection& connection, std::string_view why) override {
    delegate_->didReceiveNoCall(connection, why);
  }

 private:
  Listener& listener_;
  RunLoop& runLoop_;
  GuestTable& guests_;
  const FileDescriptor lock_;
  ConnectionTable table_;
  ServiceCounts counts_;
  std::unique_ptr<Door> door_;  ///< until it is resumed
  ListenerDelegate* delegate_ = nullptr;
};

std::unique_ptr<Listener> Listener::listenerWithServiceName(RunLoop& runLoop, GuestTable& guests,
                                                            std::string_view serviceName,
                                                            ErrorSlot error) {
  std::optional<Error> failure;
  auto socket = ListeningSocket::fromServiceManager(&failure);
  if (failure) {
    setIfEmpty(error, *failure);
    return nullptr;
  }
  if (!socket) {
    std::string path(kServiceSocketDirectory);
    path.append("/").append(serviceName);
    return listenerWithPath(runLoop, guests, rootedPath(path), error);
  }
  return std::unique_ptr<Listener>(new Listener(runLoop, guests, std::move(*socket), {}));
}

std::unique_ptr<Listener> Listener::listenerWithPath(RunLoop& runLoop, GuestTable& guests,
                                                     const std::string& path, ErrorSlot error,
                                                     const ConnectionLimits& limits) {
  auto socket = ListeningSocket::atPath(path, error);
  if (!socket) return nullptr;
  return std::unique_ptr<Listener>(new Listener(runLoop, guests, std::move(*socket), limits));
}

Listener::Listener(RunLoop& runLoop, GuestTable& guests, ListeningSocket socket,
                   const ConnectionLimits& limits)
    : implementation_(
          std::make_unique<Implementation>(*this, runLoop, guests, std::move(socket), limits)) {}

Listener::~Listener() = default;

void Listener::setDelegate(ListenerDelegate* delegate) {
  implementation_->setDelegate(delegate);
}

const ServiceCounts& Listener::counts() const {
  return implementation_->counts();
}

void Listener::resume() noexcept {
  implementation_->resume();
}

}  // namespace velto
