#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/connection/Connection.h"
#include "platform/connection/ConnectionTable.h"
#include "platform/connection/EventSource.h"
#include "platform/connection/MessageBuffer.h"
#include "platform/connection/ReplySlot.h"
#include "platform/connection/RunLoopImplementation.h"
#include "platform/connection/VarlinkMessage.h"
#include "platform/connection/VarlinkService.h"

namespace velto {

class SocketConnection;

/// Decides about new connections. Any thread, several at once.
class Admission {
 public:
  virtual ~Admission() = default;
  /// The service that serves the connection, which has been set up for it; null to close it. The
  /// service must outlive the connection.
  virtual const VarlinkService* admit(SocketConnection& connection) = 0;
};

/// The daemon's end of a client's connection. It is new until it is admitted; from then on it waits
/// for input, or until the client takes output, or runs a call. It ends when the client is gone,
/// sends something that is no call, or a call throws.
///
/// Replies are sent together as long as there is a next call that is quick. Input is read only when
/// all output has been taken, so a client that does not read its replies holds up nobody but
/// itself. A connection that waits for a new call holds no buffer, and one whose call replies
/// later holds no thread: the thread that brings the reply sends it. One thread at a time.
class SocketConnection : public EventSource, public Connection {
 public:
  /// `socket` is connected and does not block; the first event to wait for is kOutput. `runLoop`,
  /// which the connection is added to, `table` and `admission` must outlive the connection.
  SocketConnection(FileDescriptor socket, const AuditToken& auditToken,
                   RunLoop::Implementation& runLoop, ConnectionTable& table, Admission& admission);

  uid_t effectiveUserIdentifier() const override { return auditToken_.effectiveUserIdentifier; }
  gid_t effectiveGroupIdentifier() const override { return auditToken_.effectiveGroupIdentifier; }
  const AuditToken& auditToken() const override { return auditToken_; }
  void setExportedInterface(Interface exported) override { exported_ = std::move(exported); }
  void setExportedObject(std::unique_ptr<ExportedObject> object) override {
    object_ = std::move(object);
  }
  void resume() override { isResumed_ = true; }

  /// The interface to serve, or null as long as the connection is not ready to be served.
  const Interface* resumedInterface() const;

  Event serve() noexcept override;

 private:
  /// What is left to do after a step.
  enum class Step { kGoOn, kWait, kLater, kEnd };

  Event serveAwaited();
  bool takeInput();
  Event proceed();
  Step doNext();
  void runCall(std::string_view message);
  bool takeReply();
  void answerLater() noexcept;
  Step flush();

  const AuditToken auditToken_;
  RunLoop::Implementation& runLoop_;
  const ConnectionTable::Entry entry_;
  Admission& admission_;
  std::optional<Interface> exported_;
  std::unique_ptr<ExportedObject> object_;
  bool isResumed_ = false;
  const VarlinkService* service_ = nullptr;  ///< null until admitted
  Event awaited_ = Event::kOutput;

  MessageBuffer input_;
  bool isEnding_ = false;  ///< once all output has been taken
  std::string output_;
  std::size_t sent_ = 0;  ///< how much of `output_` the client has

  // Of the call that was run last.
  bool isOneway_ = false;
  bool takesMore_ = false;
  ReplySlot slot_;
  VarlinkReply reply_;  ///< as far as it has not been written
};

}  // namespace velto
