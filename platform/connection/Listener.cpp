#include "platform/connection/Listener.h"

#include <cerrno>
#include <chrono>
#include <map>
#include <string>
#include <sys/socket.h>
#include <utility>

#include <boost/asio/basic_socket_acceptor.hpp>
#include <boost/asio/steady_timer.hpp>

#include "platform/connection/ListeningSocket.h"
#include "platform/connection/RunLoopImplementation.h"
#include "platform/connection/SocketConnection.h"
#include "platform/foundation/Mutex.h"
#include "platform/foundation/Paths.h"

namespace velto {
namespace {

/// How long to wait when there are no descriptors, or no memory, for another client.
constexpr std::chrono::milliseconds kRetryTime{100};

/// The services of the protocols that connections export, each made once. Any thread.
class Services {
 public:
  const VarlinkService& serviceForProtocol(const Protocol& protocol) {
    MutexLock lock(mutex_);
    return services_.try_emplace(&protocol, protocol).first->second;
  }

 private:
  Mutex mutex_;
  std::map<const Protocol*, VarlinkService> services_ VELTO_GUARDED_BY(mutex_);
};

}  // namespace

/// Waits for one client at a time, and waits for the next one before it admits the first, so that
/// admissions overlap.
class Listener::Implementation : public std::enable_shared_from_this<Implementation> {
 public:
  Implementation(RunLoop::Implementation& runLoop, ListeningSocket socket)
      : runLoop_(runLoop),
        acceptor_(runLoop.context()),
        retry_(runLoop.context()),
        lock_(std::move(socket.lock)) {
    acceptor_.assign(boost::asio::local::stream_protocol(), socket.socket.get());
    socket.socket.release();
  }

  void setDelegate(ListenerDelegate* delegate) { delegate_ = delegate; }

  void waitForClient(Listener& listener) {
    acceptor_.async_wait(Acceptor::wait_read,
                         [self = shared_from_this(), &listener](const auto& error) {
                           if (!error) self->acceptClient(listener);
                         });
  }

 private:
  using Executor = boost::asio::io_context::executor_type;
  using Acceptor =
      boost::asio::basic_socket_acceptor<boost::asio::local::stream_protocol, Executor>;
  using Timer = boost::asio::basic_waitable_timer<
      std::chrono::steady_clock, boost::asio::wait_traits<std::chrono::steady_clock>, Executor>;

  void waitForMeans(Listener& listener) {
    retry_.expires_after(kRetryTime);
    retry_.async_wait([self = shared_from_this(), &listener](const auto& error) {
      if (!error) self->acceptClient(listener);
    });
  }

  void acceptClient(Listener& listener) {
    const RunLoop::Implementation::Occupied occupied(runLoop_);
    FileDescriptor client(
        ::accept4(acceptor_.native_handle(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
    if (client.isOpen()) {
      waitForClient(listener);
      admit(listener, std::move(client));
    } else if (errno == EAGAIN || errno == EINTR || errno == ECONNABORTED) {
      waitForClient(listener);
    } else {
      waitForMeans(listener);
    }
  }

  void admit(Listener& listener, FileDescriptor client) noexcept {
    try {
      const std::optional<AuditToken> token = auditTokenOfPeer(client.get());
      if (!token) return;
      const auto connection =
          std::make_shared<SocketConnection>(runLoop_, std::move(client), *token);
      if (!delegate_->shouldAcceptNewConnection(listener, *connection)) return;
      const Interface* exported = connection->resumedInterface();
      if (exported == nullptr) return;
      connection->start(services_.serviceForProtocol(exported->protocol()));
    } catch (...) {
      // No means to serve this client: it finds its connection closed.
    }
  }

  RunLoop::Implementation& runLoop_;
  Acceptor acceptor_;
  Timer retry_;
  const FileDescriptor lock_;
  ListenerDelegate* delegate_ = nullptr;
  Services services_;
};

std::unique_ptr<Listener> Listener::listenerWithServiceName(RunLoop& runLoop,
                                                            std::string_view serviceName,
                                                            ErrorSlot error) {
  std::optional<Error> failure;
  auto socket = ListeningSocket::fromServiceManager(&failure);
  if (failure) {
    setIfEmpty(error, *failure);
    return nullptr;
  }
  if (socket) return listenerWithSocket(runLoop, std::move(*socket), error);
  std::string path(kServiceSocketDirectory);
  return listenerWithPath(runLoop, rootedPath(path.append("/").append(serviceName)), error);
}

std::unique_ptr<Listener> Listener::listenerWithPath(RunLoop& runLoop, const std::string& path,
                                                     ErrorSlot error) {
  auto socket = ListeningSocket::atPath(path, error);
  return socket ? listenerWithSocket(runLoop, std::move(*socket), error) : nullptr;
}

std::unique_ptr<Listener> Listener::listenerWithSocket(RunLoop& runLoop, ListeningSocket socket,
                                                       ErrorSlot error) {
  try {
    return std::unique_ptr<Listener>(new Listener(
        std::make_shared<Implementation>(runLoop.implementation(), std::move(socket))));
  } catch (const boost::system::system_error& failure) {
    setIfEmpty(error, makeError(kListenerErrorDomain, failure.code().value(),
                                std::string("cannot wait for clients: ") + failure.what()));
    return nullptr;
  }
}

Listener::Listener(std::shared_ptr<Implementation> implementation)
    : implementation_(std::move(implementation)) {}

Listener::~Listener() = default;

void Listener::setDelegate(ListenerDelegate* delegate) {
  implementation_->setDelegate(delegate);
}

void Listener::resume() {
  implementation_->waitForClient(*this);
}

}  // namespace velto
