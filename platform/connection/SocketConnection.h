#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include <boost/asio/basic_stream_socket.hpp>
#include <boost/asio/local/stream_protocol.hpp>

#include "platform/connection/Connection.h"
#include "platform/connection/FileDescriptor.h"
#include "platform/connection/MessageBuffer.h"
#include "platform/connection/RunLoopImplementation.h"
#include "platform/connection/VarlinkService.h"

namespace velto {

/// The daemon's end of a client's connection. After `start` it is always in one of three states:
/// waiting for input, waiting until the client takes output, or occupying a thread with a call. The
/// event waited for owns it; when it waits for nothing any more it is gone, and the socket closes.
///
/// So it is used by one thread at a time, and needs no lock. Input is read only when all output has
/// been taken: a client that does not read its replies holds up itself.
class SocketConnection : public Connection, public std::enable_shared_from_this<SocketConnection> {
 public:
  /// `socket` is connected and does not block. Throws boost::system::system_error when the run loop
  /// cannot take it.
  SocketConnection(RunLoop::Implementation& runLoop, FileDescriptor socket,
                   const AuditToken& auditToken);

  uid_t effectiveUserIdentifier() const override { return auditToken_.effectiveUserIdentifier; }
  gid_t effectiveGroupIdentifier() const override { return auditToken_.effectiveGroupIdentifier; }
  const AuditToken& auditToken() const override { return auditToken_; }
  void setExportedInterface(Interface exported) override { exported_ = std::move(exported); }
  void setExportedObject(std::unique_ptr<ExportedObject> object) override {
    object_ = std::move(object);
  }
  void resume() override { resumed_ = true; }

  /// The interface to serve, or null as long as the connection is not ready to be served.
  const Interface* resumedInterface() const;
  /// Begins to serve, by the service of the resumed interface's protocol, which must outlive the
  /// connection.
  void start(const VarlinkService& service);

 private:
  enum class Progress { kDone, kMustWait, kFailed };
  using Step = void (SocketConnection::*)();

  void perform(Step step) noexcept;
  void waitForInput();
  void waitForOutput();
  void takeInput();
  void proceed();
  Progress proceedByOne();
  bool serve(std::string_view message);
  void addNextPiece();
  Progress flush();

  using Socket = boost::asio::basic_stream_socket<boost::asio::local::stream_protocol,
                                                  boost::asio::io_context::executor_type>;

  RunLoop::Implementation& runLoop_;
  Socket socket_;
  const AuditToken auditToken_;
  std::optional<Interface> exported_;
  std::unique_ptr<ExportedObject> object_;
  bool resumed_ = false;
  const VarlinkService* service_ = nullptr;

  MessageBuffer input_;
  std::string output_;
  std::size_t sent_ = 0;  ///< how much of `output_` the client has

  /// A reply under way: the piece to send next, and where those after it come from, if the caller
  /// takes more than one.
  std::optional<std::string> piece_;
  std::function<std::optional<std::string>()> laterPieces_;
};

}  // namespace velto
