// SPDX-License-Identifier: Apache-2.0
// What a connection waits for, and what moves it on. All output goes before any input: a connection
// reads again only when everything it has to say has been taken.
//
//     new        a fresh socket can be written at once: the first event admits the connection
//     kInput     nothing to say and no whole call: waits for bytes. Of half a call the bytes are
//                kept; otherwise no buffer but a small one (kKeptOutput).
//     kOutput    waits until the socket takes more: the client has not taken all that was said, or
//                a late reply has more
//     kTurn      the turn is over (kStepsATurn, kTurnTime), and others of its user come first
//     kPlace     the next call is one that waits, and its user has no place for it: the call stays
//                in the buffer, and is looked at again when there is one
//     kHangUp    the reply is a stream that has nothing to tell: waits for the client to hang up,
//     not
//                for bytes, which may be the next calls. The stream nudges it.
//     kLater     a call is under way on some other thread. The connection is in no thread's hands
//                until PendingReply::arrive, whose thread sends the reply and lets it wait again.
//     kNone      the client is gone, sent what is not a call, or memory ran out: the run loop
//                destroys the connection. What it had earned before has been sent as far as the
//                client took it; a call under way goes on, and its reply is dropped.
//
// There is no lock. The run loop hands the connection to one thread at a time (EPOLLONESHOT), and
// between the thread that leaves and the thread that brings a reply the state of the PendingReply
// decides. After leave() has returned true nothing of the connection may be touched: it may be
// served, or even destroyed, by then.

#include "platform/connection/SocketConnection.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <poll.h>
#include <sys/socket.h>
#include <utility>

#include "platform/connection/VarlinkMessage.h"
#include "platform/connection/VarlinkService.h"
#include "platform/connection/WaitingPlace.h"
#include "platform/foundation/SingleLine.h"

namespace velto {
namespace {

constexpr std::size_t kInputChunk = std::size_t{64} * 1024;
/// So much is done for a client that sends calls without a break before the others have their turn.
constexpr int kStepsATurn = 128;
/// The same when they take longer, looked at now and then.
constexpr std::chrono::milliseconds kTurnTime{2};
constexpr int kStepsALook = 8;
/// So much output is not held back any longer.
constexpr std::size_t kMuchOutput = std::size_t{16} * 1024;
/// An idle connection keeps a buffer no larger than this.
constexpr std::size_t kKeptOutput = 128;

constexpr std::string_view kTooLong = "a call that is longer than its client's may be";
/// So much of what is no call tells whoever sent it what it was.
constexpr std::size_t kBeginning = 40;

std::string beginningOf(std::string_view message) {
  return "what is no call: \"" + singleLine(message.substr(0, kBeginning)) +
         (message.size() > kBeginning ? "...\"" : "\"");
}

bool meansToWait(int error) {
  return error == EAGAIN || error == EWOULDBLOCK || error == EINTR;
}

}  // namespace

SocketConnection::SocketConnection(FileDescriptor socket, const AuditToken& auditToken,
                                   RunLoop& runLoop, ConnectionTable& table, ServiceCounts& counts,
                                   Admission& admission)
    : EventSource(std::move(socket), auditToken.effectiveUserIdentifier),
      auditToken_(auditToken),
      runLoop_(runLoop),
      newcomer_(runLoop),
      entry_(table, auditToken.effectiveUserIdentifier, descriptor(), this),
      counts_(counts),
      counted_(counts.connections),
      admission_(admission) {}

Event SocketConnection::serve() noexcept {
  try {
    awaited_ = serveAwaited();
    while (awaited_ == Event::kLater) {
      if (pending_->leave()) return Event::kLater;
      awaited_ = proceed();
    }
  } catch (...) {
    // The client finds its connection closed after the replies it has earned; the others are served
    // as before.
    if (pending_ != nullptr) pending_->abandon();
    flush();
    awaited_ = Event::kNone;
  }
  charge();
  return awaited_;
}

Event SocketConnection::serveAwaited() {
  if (isGivenUp_) return Event::kNone;
  if (!isAdmitted_) {
    isAdmitted_ = admission_.admit(*this);
    return isAdmitted_ ? Event::kInput : Event::kNone;
  }
  if (awaited_ == Event::kInput && !takeInput()) return Event::kNone;
  if (awaited_ == Event::kHangUp && hasHungUp()) return Event::kNone;
  const Event next = proceed();
  input_.keep();
  return next;
}

/// False when the client is gone.
bool SocketConnection::takeInput() {
  // One for all connections that the thread serves, so that an idle one needs none.
  thread_local std::array<char, kInputChunk> chunk;
  const ssize_t size = ::recv(descriptor(), chunk.data(), chunk.size(), 0);
  if (size < 0) return meansToWait(errno);
  input_.add({chunk.data(), static_cast<std::size_t>(size)});
  return size > 0;
}

/// Does all that can be done without waiting, and tells what to wait for then.
Event SocketConnection::proceed() {
  Step last = flush();
  const auto end = std::chrono::steady_clock::now() + kTurnTime;
  for (int steps = 0; last == Step::kGoOn && steps < kStepsATurn; ++steps) {
    if (steps % kStepsALook == kStepsALook - 1 && std::chrono::steady_clock::now() > end) break;
    last = doNext();
  }
  // What is said goes out before the connection waits for anything else.
  const bool isMoreToCome = last == Step::kGoOn || last == Step::kPark;
  const Step flushed = isMoreToCome ? flush() : last;
  if (flushed == Step::kEnd) return Event::kNone;
  if (flushed == Step::kLater) return Event::kLater;
  if (!output_.empty()) return Event::kOutput;
  if (last == Step::kPark) return Event::kPlace;
  if (last == Step::kListen) return Event::kHangUp;
  return last == Step::kGoOn ? Event::kTurn : Event::kInput;
}

/// Goes on with the reply under way, then with the next call, and sends what has come together.
SocketConnection::Step SocketConnection::doNext() {
  if (output_.size() >= kMuchOutput) return flush();
  if (pending_ != nullptr && !takeReply()) return Step::kLater;
  if (!reply_.isWritten()) return writeReply();
  call_.reset();
  if (runLoop_.isStopping() && newcomer_.isSettled()) isEnding_ = true;
  const auto message = isEnding_ ? std::nullopt : input_.next();
  if (message) {
    entry_.endWait();  // a call may take longer than its rest may
    if (!runCall(*message)) {
      call_.reset();
      input_.putBack(*message);
      return Step::kPark;
    }
    newcomer_.settle();
    return Step::kGoOn;
  }
  if (!output_.empty()) return flush();
  const bool isTooLong = !isEnding_ && input_.size() > maximumCallSize_;
  if (isTooLong) admission_.refuse(*this, kTooLong);
  return isEnding_ || isTooLong ? Step::kEnd : Step::kWait;
}

SocketConnection::Step SocketConnection::writeReply() {
  if (reply_.writeNext(output_, takesMore_)) return Step::kGoOn;
  // A stream is over when the service stops; its client knows by the end of the connection.
  if (runLoop_.isStopping()) isEnding_ = true;
  if (!output_.empty()) return flush();
  output_.shrink_to_fit();
  return isEnding_ ? Step::kEnd : Step::kListen;
}

/// Whether the client has gone, or will not say more; what it said before may not have been read.
bool SocketConnection::hasHungUp() const {
  pollfd wait{.fd = descriptor(), .events = POLLRDHUP, .revents = 0};
  return ::poll(&wait, 1, 0) != 0;
}

/// Runs a call, which replies then or later. A message that is not a call ends the connection.
/// False when the call cannot be begun for want of a place.
bool SocketConnection::runCall(std::string_view message) {
  const bool isTooLong = message.size() > maximumCallSize_;
  const auto call = isTooLong ? std::nullopt : VarlinkCall::parse(message);
  if (!call) {
    admission_.refuse(*this, isTooLong ? kTooLong : beginningOf(message));
    isEnding_ = true;
    return true;
  }
  call_.emplace(counts_.calls);
  isOneway_ = call->oneway();
  takesMore_ = call->more();
  row_ = call->upgrade() ? nullptr : exported_->row(call->method());
  if (row_ == nullptr) {
    ++counts_.served;
    setReply(serviceReply(*call, *exported_));
    return true;
  }
  if (row_->method->pace == Pace::kWaits) return callWithPlace(*call, *row_);
  callMethod(*call, *row_);
  return true;
}

bool SocketConnection::callWithPlace(const VarlinkCall& call, const Interface::Row& row) {
  const WaitingPlace place(runLoop_, *this);
  if (place.isTaken()) callMethod(call, row);
  return place.isTaken();
}

void SocketConnection::callMethod(const VarlinkCall& call, const Interface::Row& row) {
  ++counts_.served;
  if (row.method->pace != Pace::kQuick) flush();
  pending_ = std::make_shared<PendingReply>(static_cast<ReplyReceiver&>(*this));
  row.method->invoke({.object = *objects_[row.object],
                      .parameters = call.parameters(),
                      .classes = row.classes ? &*row.classes : nullptr,
                      .more = call.more()},
                     ReplyPromise(pending_));
}

/// False as long as the call has not replied.
bool SocketConnection::takeReply() {
  if (!pending_->hasArrived()) return false;
  setReply(std::exchange(pending_, nullptr)->take());
  return true;
}

void SocketConnection::setReply(CallReply reply) {
  if (reply.kind() == CallReply::Kind::kLost) {
    isEnding_ = true;
  } else if (!isOneway_) {
    const bool isOffered = reply.kind() != CallReply::Kind::kNotOffered;
    reply_ = isOffered ? std::move(reply) : notImplemented(*row_);
    reply_.setListener(*this);
  }
}

/// Sends the reply of a call whose thread has left. All else is for the run loop's threads, since
/// this one has other work.
void SocketConnection::goOnWithReply() noexcept {
  try {
    takeReply();
    if (!reply_.isWritten()) reply_.writeNext(output_, takesMore_);
    const bool isAlive = flush() != Step::kEnd;
    const bool isIdle = output_.empty() && reply_.isWritten() && input_.size() == 0 && !isEnding_;
    if (isIdle) call_.reset();
    awaited_ = !isAlive ? Event::kNone : isIdle ? Event::kInput : Event::kOutput;
  } catch (...) {
    awaited_ = Event::kNone;
  }
  charge();
  runLoop_.resume(*this, awaited_);
}

/// The connection has been shut down. Its descriptor is wanted, and many others of its user may
/// stand before it; one that waits for a place would not even see its end.
void SocketConnection::giveUp() noexcept {
  isGivenUp_ = true;
  runLoop_.rouse(*this);
}

/// Tells what the connection holds and waits for. Whenever it is served, it has moved on.
void SocketConnection::charge() {
  using Waits = ConnectionTable::Waits;
  const std::size_t unsent = output_.size() - sent_ + reply_.text().size();
  const bool waitsForRest = awaited_ == Event::kInput && input_.size() > 0;
  entry_.charge(input_.size() + unsent, unsent > 0     ? Waits::kForTaking
                                        : waitsForRest ? Waits::kForRestOfCall
                                                       : Waits::kForNothing);
}

/// Sends what the client takes without waiting.
SocketConnection::Step SocketConnection::flush() {
  while (sent_ < output_.size()) {
    const ssize_t size =
        ::send(descriptor(), output_.data() + sent_, output_.size() - sent_, MSG_NOSIGNAL);
    if (size < 0) return meansToWait(errno) ? Step::kWait : Step::kEnd;
    sent_ += static_cast<std::size_t>(size);
  }
  sent_ = 0;
  output_.clear();
  if (reply_.isWritten() && output_.capacity() > kKeptOutput) output_.shrink_to_fit();
  return Step::kGoOn;
}

}  // namespace velto
