#include "platform/connection/SocketConnection.h"

#include <array>
#include <cerrno>
#include <sys/socket.h>
#include <utility>

#include <boost/json/monotonic_resource.hpp>

namespace velto {
namespace {

constexpr std::size_t kInputChunk = std::size_t{64} * 1024;
/// So much is done for a client that sends calls without a break before the others have their turn.
constexpr int kStepsATurn = 128;
/// So much output is not held back any longer.
constexpr std::size_t kMuchOutput = std::size_t{16} * 1024;
/// Calls of usual size are decoded without asking for memory.
constexpr std::size_t kCallMemory = 8192;
/// An idle connection keeps a buffer no larger than this.
constexpr std::size_t kKeptOutput = 512;

bool meansToWait(int error) {
  return error == EAGAIN || error == EWOULDBLOCK || error == EINTR;
}

}  // namespace

SocketConnection::SocketConnection(FileDescriptor socket, const AuditToken& auditToken,
                                   RunLoop::Implementation& runLoop, ConnectionTable& table,
                                   Admission& admission)
    : EventSource(std::move(socket)),
      auditToken_(auditToken),
      runLoop_(runLoop),
      entry_(table, auditToken.effectiveUserIdentifier, descriptor()),
      admission_(admission) {}

const Interface* SocketConnection::resumedInterface() const {
  return isResumed_ && exported_ && object_ != nullptr ? &*exported_ : nullptr;
}

Event SocketConnection::serve() noexcept {
  try {
    awaited_ = serveAwaited();
    while (awaited_ == Event::kLater) {
      if (slot_.leave()) return Event::kLater;  // and touch nothing: it may be somebody else's turn
      awaited_ = proceed();
    }
  } catch (...) {
    // The client finds its connection closed after the replies it has earned; the others are served
    // as before.
    flush();
    awaited_ = Event::kNone;
  }
  return awaited_;
}

Event SocketConnection::serveAwaited() {
  if (service_ == nullptr) {
    service_ = admission_.admit(*this);
    return service_ != nullptr ? Event::kInput : Event::kNone;
  }
  if (awaited_ == Event::kInput && !takeInput()) return Event::kNone;
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
  for (int steps = 0; last == Step::kGoOn && steps < kStepsATurn; ++steps) {
    last = doNext();
  }
  if (last == Step::kGoOn) {
    // There may be room for more output: the next turn comes after the others'.
    return flush() == Step::kEnd ? Event::kNone : Event::kOutput;
  }
  if (last == Step::kEnd) return Event::kNone;
  if (last == Step::kLater) return Event::kLater;
  return output_.empty() ? Event::kInput : Event::kOutput;
}

/// Goes on with the reply under way, then with the next call, and sends what has come together.
SocketConnection::Step SocketConnection::doNext() {
  if (output_.size() >= kMuchOutput) return flush();
  if (!slot_.isEmpty() && !takeReply()) return Step::kLater;
  if (!reply_.isDone()) {
    reply_.writeNext(output_);
    return Step::kGoOn;
  }
  const auto message = isEnding_ ? std::nullopt : input_.next();
  if (message) {
    runCall(*message);
    return Step::kGoOn;
  }
  if (!output_.empty()) return flush();
  return isEnding_ || input_.size() > kMaximumCallSize ? Step::kEnd : Step::kWait;
}

/// Runs a call, which replies then or later. A message that is no call ends the connection.
void SocketConnection::runCall(std::string_view message) {
  std::array<unsigned char, kCallMemory> memory;
  boost::json::monotonic_resource storage(memory.data(), memory.size());
  const std::optional<VarlinkCall> call = VarlinkCall::parse(message, &storage);
  if (!call) {
    isEnding_ = true;
    return;
  }
  if (!service_->isQuick(*call)) flush();
  isOneway_ = call->oneway();
  takesMore_ = call->more();
  slot_.open();
  service_->dispatch(*call, *exported_, *object_, [this](CallReply reply) {
    if (slot_.put(std::move(reply))) answerLater();
  });
}

/// False as long as the call has not replied.
bool SocketConnection::takeReply() {
  if (!slot_.isFilled()) return false;
  CallReply reply = slot_.take();
  if (isOneway_) return true;
  if (reply.error.empty()) {
    reply_ = VarlinkReply(std::move(reply.parameters), takesMore_);
  } else {
    output_.append(reply.error);
  }
  return true;
}

/// Sends the reply of a call whose thread has left. All else is for the run loop's threads, since
/// this one has other work.
void SocketConnection::answerLater() noexcept {
  try {
    takeReply();
    if (!reply_.isDone()) reply_.writeNext(output_);
    const bool isAlive = flush() != Step::kEnd;
    const bool isDone = output_.empty() && reply_.isDone() && input_.size() == 0;
    awaited_ = !isAlive ? Event::kNone : isDone ? Event::kInput : Event::kOutput;
  } catch (...) {
    awaited_ = Event::kNone;
  }
  runLoop_.resume(*this, awaited_);
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
  if (reply_.isDone() && output_.capacity() > kKeptOutput) output_.shrink_to_fit();
  return Step::kGoOn;
}

}  // namespace velto
