// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "platform/connection/Connection.h"
#include "platform/connection/ConnectionTable.h"
#include "platform/foundation/Error.h"

namespace velto {

class GuestTable;
class Listener;
class RunLoop;
struct ServiceCounts;
struct ListeningSocket;

/// Decides about new connections. Called on the threads of the run loop, several at once.
class ListenerDelegate {
 public:
  virtual ~ListenerDelegate() = default;
  /// True to keep the connection, which must then have been resumed; false closes it.
  virtual bool shouldAcceptNewConnection(Listener& listener, Connection& connection) = 0;
  /// The connection ends, since its client has sent what is no call, as the phrase says.
  virtual void didReceiveNoCall(const Connection& /*connection*/, std::string_view /*what*/) {}
};

/// The service's door: a listening Unix stream socket. Made with a service name it takes the socket
/// that the service manager handed over (FileDescriptorName=varlink) and otherwise makes
/// /run/velto/<service name>, mode 0666, below VELTO_ROOT. A socket left by a crash is replaced;
/// one that still answers is not. Clients that connect before `resume` wait in the socket's queue.
///
/// Raises the process's limit of open files, and shares them among the users as ConnectionTable
/// says.
///
/// Notes each caller in the table of guests while the delegate decides about it.
///
/// Made and resumed on one thread; it and what it is given must outlive the run loop's `run`.
class Listener {
 public:
  /// Nothing, with an error that says which socket and why, when the door cannot be had.
  static std::unique_ptr<Listener> listenerWithServiceName(RunLoop& runLoop, GuestTable& guests,
                                                           std::string_view serviceName,
                                                           ErrorSlot error);
  /// A listener that makes its socket at `path`, under the same rules.
  static std::unique_ptr<Listener> listenerWithPath(RunLoop& runLoop, GuestTable& guests,
                                                    const std::string& path, ErrorSlot error,
                                                    const ConnectionLimits& limits = {});
  ~Listener();
  Listener(const Listener&) = delete;
  Listener& operator=(const Listener&) = delete;

  /// Not owned; must outlive the run loop's `run`.
  void setDelegate(ListenerDelegate* delegate);
  /// Of its connections; as long as the listener.
  const ServiceCounts& counts() const;
  /// Starts to accept; called once, with the delegate set. Ends the process when the system has no
  /// means to wait for clients.
  void resume() noexcept;

 private:
  class Door;
  class Watch;
  class Implementation;
  Listener(RunLoop& runLoop, GuestTable& guests, ListeningSocket socket,
           const ConnectionLimits& limits);
  const std::unique_ptr<Implementation> implementation_;
};

}  // namespace velto
