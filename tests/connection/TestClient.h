// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/foundation/FileDescriptor.h"

namespace velto {

/// The client's side of a connection, byte by byte, so that a test can misbehave. Fails the test
/// when nothing comes for a long time.
class TestClient {
 public:
  explicit TestClient(const std::string& path);

  bool isConnected() const { return socket_.isOpen(); }
  int descriptor() const { return socket_.get(); }
  /// Sends the bytes as they are. False when the other side is gone.
  bool sendBytes(std::string_view bytes) const;
  /// Sends a message and the NUL that ends it.
  bool send(std::string_view message) const;
  void shutDownWriting() const;
  /// The next message; nothing when the connection has ended.
  std::optional<std::string> receive();
  /// Sends a message and waits for the next one.
  std::optional<std::string> ask(std::string_view message);
  void hangUp() { socket_ = FileDescriptor(); }

 private:
  FileDescriptor socket_;
  std::string input_;
};

}  // namespace velto
