// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/connection/Connection.h"
#include "platform/connection/ConnectionTable.h"
#include "platform/connection/EventSource.h"
#include "platform/connection/MessageBuffer.h"
#include "platform/connection/PendingReply.h"
#include "platform/connection/RunLoop.h"
#include "platform/connection/ServiceCounts.h"

namespace velto {

class SocketConnection;
class VarlinkCall;

/// Decides about new connections. Any thread, several at once.
class Admission {
 public:
  virtual ~Admission() = default;
  /// True for a connection that has been set up and resumed; false to close it.
  virtual bool admit(SocketConnection& connection) = 0;
  /// The connection ends, since what came from its client is no call, as the phrase says.
  virtual void refuse(const SocketConnection& connection, std::string_view why) = 0;
};

/// The daemon's end of a client's connection. It is new until it is admitted; from then on it waits
/// for input, or until the client takes output, or runs a call. It ends when the client is gone,
/// sends something that is not a call, or a call throws.
///
/// Replies are sent together as long as there is a next call that is quick. Input is read only when
/// all output has been taken, so a client that does not read its replies holds up nobody but
/// itself. A connection that waits for a new call holds no buffer, and one whose call replies
/// later holds no thread: the thread that brings the reply sends it; nor does one whose next call
/// has no place yet among those of its user that wait, or whose reply is a stream that has nothing
/// to tell. Such a one ends when its client hangs up, or just its own end. One thread at a time.
class SocketConnection : public EventSource,
                         public Connection,
                         private ReplyReceiver,
                         private ReplyStream::Listener,
                         private ConnectionTable::Owner {
 public:
  /// `socket` is connected and does not block; the first event to wait for is kOutput. `runLoop`,
  /// which the connection is added to, and all the others must outlive the connection.
  SocketConnection(FileDescriptor socket, const AuditToken& auditToken, RunLoop& runLoop,
                   ConnectionTable& table, ServiceCounts& counts, Admission& admission);

  uid_t effectiveUserIdentifier() const override { return auditToken_.effectiveUserIdentifier; }
  gid_t effectiveGroupIdentifier() const override { return auditToken_.effectiveGroupIdentifier; }
  const AuditToken& auditToken() const override { return auditToken_; }
  void setExportedInterface(std::shared_ptr<const Interface> exported) override {
    exported_ = std::move(exported);
  }
  void addExportedObject(std::unique_ptr<ExportedObject> object) override {
    objects_.push_back(std::move(object));
  }
  void setMaximumCallSize(std::size_t bytes) override { maximumCallSize_ = bytes; }
  void resume() override { isResumed_ = true; }

  /// Whether the connection is ready to be served.
  bool isResumed() const {
    return isResumed_ && exported_ != nullptr && objects_.size() == exported_->protocols().size();
  }

  Event serve() noexcept override;

 private:
  /// What is left to do after a step.
  enum class Step { kGoOn, kWait, kLater, kPark, kListen, kEnd };

  Event serveAwaited();
  bool takeInput();
  Event proceed();
  Step doNext();
  bool runCall(std::string_view message);
  bool callWithPlace(const VarlinkCall& call, const Interface::Row& row);
  void callMethod(const VarlinkCall& call, const Interface::Row& row);
  bool takeReply();
  void setReply(CallReply reply);
  void goOnWithReply() noexcept override;
  void rouse() noexcept override { runLoop_.nudge(*this); }
  Step writeReply();
  bool hasHungUp() const;
  void giveUp() noexcept override;
  Step flush();
  void charge();

  const AuditToken auditToken_;
  RunLoop& runLoop_;
  std::atomic<bool> isGivenUp_ = false;
  RunLoop::Newcomer newcomer_;  ///< until its first call has been run
  ConnectionTable::Entry entry_;
  ServiceCounts& counts_;
  const Counted counted_;
  Admission& admission_;
  std::shared_ptr<const Interface> exported_;
  std::vector<std::unique_ptr<ExportedObject>> objects_;  ///< one for each protocol exported
  std::size_t maximumCallSize_ = kMaximumCallSize;
  Event awaited_ = Event::kOutput;
  bool isResumed_ = false;
  bool isAdmitted_ = false;

  MessageBuffer input_;
  bool isEnding_ = false;  ///< once all output has been taken
  std::string output_;
  std::size_t sent_ = 0;  ///< how much of `output_` the client has

  // Of the call that was run last.
  std::optional<Counted> call_;  ///< to the end of the reply
  bool isOneway_ = false;
  bool takesMore_ = false;
  const Interface::Row* row_ = nullptr;    ///< of the method
  std::shared_ptr<PendingReply> pending_;  ///< null when the reply has been taken
  CallReply reply_;                        ///< as far as it has not been written
};

}  // namespace velto
