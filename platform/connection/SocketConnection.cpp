#include "platform/connection/SocketConnection.h"

#include <array>
#include <cerrno>
#include <sys/socket.h>
#include <utility>

#include <boost/asio/post.hpp>
#include <boost/json/monotonic_resource.hpp>

namespace velto {
namespace {

constexpr std::size_t kInputChunk = std::size_t{64} * 1024;
/// A connection whose client sends calls without a break lets the others have their turn after so
/// many.
constexpr int kCallsATurn = 64;
/// Calls of usual size are decoded without asking for memory.
constexpr std::size_t kCallMemory = 8192;
/// An idle connection keeps a buffer no larger than this.
constexpr std::size_t kKeptOutput = 512;

bool mustWait(int error) {
  return error == EAGAIN || error == EWOULDBLOCK || error == EINTR;
}

}  // namespace

SocketConnection::SocketConnection(RunLoop::Implementation& runLoop, FileDescriptor socket,
                                   const AuditToken& auditToken)
    : runLoop_(runLoop), socket_(runLoop.context()), auditToken_(auditToken) {
  socket_.assign(boost::asio::local::stream_protocol(), socket.get());
  socket.release();
}

const Interface* SocketConnection::resumedInterface() const {
  return resumed_ && exported_ && object_ != nullptr ? &*exported_ : nullptr;
}

void SocketConnection::start(const VarlinkService& service) {
  service_ = &service;
  perform(&SocketConnection::waitForInput);
}

/// A step that throws was the last one: the connection ends, the daemon does not.
void SocketConnection::perform(Step step) noexcept {
  try {
    (this->*step)();
  } catch (...) {
    boost::system::error_code ignored;
    socket_.close(ignored);
  }
}

void SocketConnection::waitForInput() {
  socket_.async_wait(Socket::wait_read, [self = shared_from_this()](const auto& error) {
    if (!error) self->perform(&SocketConnection::takeInput);
  });
}

void SocketConnection::waitForOutput() {
  socket_.async_wait(Socket::wait_write, [self = shared_from_this()](const auto& error) {
    if (!error) self->perform(&SocketConnection::proceed);
  });
}

void SocketConnection::takeInput() {
  // One for all connections that the thread serves: an idle one then needs none.
  thread_local std::array<char, kInputChunk> chunk;
  const ssize_t size = ::recv(socket_.native_handle(), chunk.data(), chunk.size(), 0);
  if (size > 0) {
    input_.add({chunk.data(), static_cast<std::size_t>(size)});
    proceed();
  } else if (size < 0 && mustWait(errno)) {
    waitForInput();
  }
}

/// Does all there is to do, and then waits for what is missing.
void SocketConnection::proceed() {
  const RunLoop::Implementation::Occupied occupied(runLoop_);
  for (int calls = 0; calls < kCallsATurn; ++calls) {
    switch (proceedByOne()) {
      case Progress::kDone:
        break;
      case Progress::kFailed:
        return;
      case Progress::kMustWait:
        input_.keep();
        return output_.empty() ? waitForInput() : waitForOutput();
    }
  }
  input_.keep();
  boost::asio::post(runLoop_.context(),
                    [self = shared_from_this()] { self->perform(&SocketConnection::proceed); });
}

/// Goes on with the reply under way, and when there is none, serves the next message.
SocketConnection::Progress SocketConnection::proceedByOne() {
  if (!output_.empty()) return flush();
  if (piece_) {
    addNextPiece();
    return flush();
  }
  const std::optional<std::string_view> message = input_.next();
  if (message) return serve(*message) ? flush() : Progress::kFailed;
  return input_.size() > kMaximumCallSize ? Progress::kFailed : Progress::kMustWait;
}

/// Runs a call, and makes its reply the one under way. False when the message is no call.
bool SocketConnection::serve(std::string_view message) {
  std::array<unsigned char, kCallMemory> memory;
  boost::json::monotonic_resource storage(memory.data(), memory.size());
  const std::optional<VarlinkCall> call = VarlinkCall::parse(message, &storage);
  if (!call) return false;

  CallReply reply = service_->dispatch(*call, *exported_, *object_);
  if (call->oneway()) return true;
  output_ = std::move(reply.error);
  if (!output_.empty()) return true;

  piece_ = reply.nextPiece();
  if (!piece_) return false;
  if (call->more()) laterPieces_ = std::move(reply.nextPiece);
  addNextPiece();
  return true;
}

void SocketConnection::addNextPiece() {
  std::optional<std::string> following = laterPieces_ ? laterPieces_() : std::nullopt;
  appendReply(output_, *piece_, following.has_value());
  piece_ = std::move(following);
  if (!piece_) laterPieces_ = nullptr;
}

/// Sends what the client takes without waiting.
SocketConnection::Progress SocketConnection::flush() {
  while (sent_ < output_.size()) {
    const ssize_t size = ::send(socket_.native_handle(), output_.data() + sent_,
                                output_.size() - sent_, MSG_NOSIGNAL);
    if (size < 0) return mustWait(errno) ? Progress::kMustWait : Progress::kFailed;
    sent_ += static_cast<std::size_t>(size);
  }
  sent_ = 0;
  output_.clear();
  if (output_.capacity() > kKeptOutput) output_.shrink_to_fit();
  return Progress::kDone;
}

}  // namespace velto
