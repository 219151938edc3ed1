// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <sys/un.h>
#include <utility>

#include "platform/connection/MessageBuffer.h"
#include "platform/foundation/Error.h"
#include "platform/foundation/FileDescriptor.h"

namespace velto {

/// The domain of a client's errors, whose descriptions say why without naming the service. The code
/// of a failed system call is its errno; the constants below are the others.
inline constexpr std::string_view kVarlinkClientErrorDomain = "VarlinkClient";
inline constexpr int kVarlinkTimedOutErrorCode = 1001;   ///< the client's time was up
inline constexpr int kVarlinkHungUpErrorCode = 1002;     ///< the service ended the connection
inline constexpr int kVarlinkEndlessErrorCode = 1003;    ///< a reply was longer than the limit
inline constexpr int kVarlinkCancelledErrorCode = 1004;  ///< the client was told to give up

/// How a call is to be answered.
enum class ReplyMode {
  kOne,     ///< with one reply
  kPieces,  ///< with any number of pieces (`more`)
  kNone,    ///< not at all (`oneway`)
};

/// A client's connection to a Varlink service: sends calls, and cuts what comes back into replies.
/// It waits for the service as long as its limits allow. After an operation has failed, the
/// connection is of no further use. One thread at a time.
class VarlinkClient {
 public:
  using Deadline = std::chrono::steady_clock::time_point;

  struct Limits {
    /// The most bytes that a reply may have.
    std::size_t replySize;
    /// How long connecting, sending and receiving may take together.
    std::optional<std::chrono::milliseconds> time = {};
    /// A descriptor that is readable when the client is to give up waiting; it outlives the client.
    int cancelSignal = -1;
  };

  /// Connects to the socket at `path`, and waits when the service's queue is full. Null with an
  /// error when nobody serves it.
  static std::unique_ptr<VarlinkClient> connect(const std::string& path, const Limits& limits,
                                                ErrorSlot error);

  /// Sends a call. `method` is the full name, `parameters` the text of a JSON object, or empty.
  bool send(std::string_view method, std::string_view parameters, ReplyMode mode, ErrorSlot error);
  /// Returns the next reply's text, without its NUL, to the calls in their order. It is valid until
  /// the next operation.
  std::optional<std::string_view> receive(ErrorSlot error);

  /// By when what follows has to be done, in place of the limit before; without, it may take as
  /// long as it likes. For a client with a time limit or a cancel signal alone: any other waits in
  /// its system calls. Receiving that ran out of time may be tried again.
  void setDeadline(std::optional<Deadline> deadline) { deadline_ = deadline; }
  /// Whether there is something to receive between calls: the service has hung up, or speaks
  /// unasked. Such a connection is of no use for another call.
  bool isStale() const;
  /// The socket, to be polled.
  int descriptor() const { return socket_.get(); }

 private:
  VarlinkClient(FileDescriptor socket, const Limits& limits)
      : limits_(limits), socket_(std::move(socket)) {}

  bool connectTo(const sockaddr_un& address, ErrorSlot error) const;
  bool receiveMore(ErrorSlot error);
  bool hasExpired() const;
  int millisecondsLeft(int atMost) const;
  bool waitAfter(int errorNumber, short events, ErrorSlot error) const;
  bool wait(short events, int timeout, ErrorSlot error) const;

  const Limits limits_;
  const FileDescriptor socket_;
  std::optional<Deadline> deadline_;
  MessageBuffer input_;
};

}  // namespace velto
