// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "platform/connection/Listener.h"
#include "platform/connection/RunLoop.h"
#include "platform/foundation/Mutex.h"
#include "platform/foundation/SerialQueue.h"
#include "platform/identity/GuestTable.h"
#include "tests/connection/TestNews.h"
#include "tests/support/TemporaryDirectory.h"

namespace velto {

/// Replies to be given when the test opens the gate, on the thread that opens it.
class HeldReplies {
 public:
  /// Once the gate is open, the reply is given at once.
  void add(std::function<void()> reply);
  void open();

 private:
  Mutex mutex_;
  bool isOpen_ VELTO_GUARDED_BY(mutex_) = false;
  std::vector<std::function<void()>> replies_ VELTO_GUARDED_BY(mutex_);
};

/// What the methods of the test protocol work with.
class TestObject : public ExportedObject {
 public:
  struct Shared {
    std::atomic<int> objects = 0;      ///< alive
    std::atomic<int> calls = 0;        ///< begun, of Note, Wait and Later
    std::atomic<int> pieces = 0;       ///< made, of Count
    std::atomic<bool> isOpen = false;  ///< lets the calls of Wait end
    HeldReplies held;                  ///< to the calls of Later
    SerialQueue other;                 ///< replies to the calls of Elsewhere
    TestNews news;                     ///< what Follow tells
  };

  explicit TestObject(Shared& shared) : shared_(shared) { ++shared_.objects; }
  ~TestObject() override { --shared_.objects; }
  Shared& shared() { return shared_; }

 private:
  Shared& shared_;
};

/// The interface test.service:
///  - Echo(value): replies with {"value": value}, which it requires
///  - Note(): counts itself
///  - Wait(): counts itself, and replies when the test opens the gate
///  - Later(value): returns without a reply; replies as Echo does when the test opens the gate
///  - Elsewhere(value): the same without a gate, on another thread
///  - Count(to, size): the numbers from 1 on, one a piece, filled up to `size` bytes
///  - Follow(): tells what the test tells the news, without an end
///  - Missing(): not implemented
///  - Throw(), WaitThrow(): run out of memory; the latter is a call that waits, as Wait is
///  - LaterThrow(value): as Later, and runs out of memory
///  - Lose(): has no memory for its reply
///  - Classes(value): replies whether a class is admitted
const Protocol& testProtocol();

/// A service on a socket of its own, served on threads of its own from construction to the end.
class TestService : public ListenerDelegate {
 public:
  using ListenerFactory =
      std::function<std::unique_ptr<Listener>(RunLoop&, GuestTable&, ErrorSlot)>;

  explicit TestService(const TurnLimits& turns = {});
  /// Serves `protocol` through a listener that `makeListener` makes.
  explicit TestService(const ListenerFactory& makeListener,
                       const Protocol& protocol = testProtocol(), const TurnLimits& turns = {});
  ~TestService() override;

  const std::string& path() const { return path_; }
  TestObject::Shared& shared() { return shared_; }
  /// No call is begun any more.
  void beginStop() { runLoop_.stop(); }
  /// Lets the calls of Wait end, and replies to those of Later.
  void open();
  /// The tokens of the connections admitted so far, in order.
  std::vector<AuditToken> tokens() const;
  /// The addresses of those that were in the table of guests then.
  std::vector<std::uintptr_t> guestAddresses() const;
  const GuestTable& guests() const { return guests_; }
  /// The next connections are turned away.
  void setAccepting(bool accepting) { accepting_ = accepting; }

  /// Of the connections admitted from now on.
  void setMaximumCallSize(std::size_t bytes) { maximumCallSize_ = bytes; }

  bool shouldAcceptNewConnection(Listener& listener, Connection& connection) override;

 private:
  void start(std::unique_ptr<Listener> listener);

  const std::shared_ptr<const Interface> exported_;
  TemporaryDirectory directory_;
  const std::string path_ = (directory_.path() / "socket").string();
  TestObject::Shared shared_;
  std::atomic<bool> accepting_ = true;
  std::atomic<std::size_t> maximumCallSize_ = kMaximumCallSize;
  GuestTable guests_;
  RunLoop runLoop_;
  std::unique_ptr<Listener> listener_;
  mutable Mutex mutex_;
  std::vector<AuditToken> tokens_ VELTO_GUARDED_BY(mutex_);
  std::vector<std::uintptr_t> guestAddresses_ VELTO_GUARDED_BY(mutex_);
  std::thread thread_;
};

/// Waits until `condition` holds, for as long as only a hang would take; then fails the test.
void waitUntil(const std::function<bool()>& condition);

/// How many threads this process has.
int threadCount();

}  // namespace velto
