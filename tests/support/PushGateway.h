// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <vector>

#include <boost/json/array.hpp>

#include "platform/foundation/Data.h"
#include "platform/foundation/FileDescriptor.h"
#include "tests/support/TemporaryDirectory.h"

namespace velto {

/// An authority, with certificates of a server (localhost, 127.0.0.1) and of a client signed by it:
/// ca.pem, server.pem, server.key, client.pem, client.key, and another client's, other.pem and
/// other.key. Made with openssl(1).
const std::filesystem::path& testCertificates();

/// A push gateway in a process of its own; gateway.js says what it does with a notification. Ends
/// with this object.
class PushGateway {
 public:
  /// Whether node and openssl are there.
  static bool isAvailable();

  /// `options` as gateway.js takes them, a JSON object.
  explicit PushGateway(const std::string& options = "{}");
  ~PushGateway();
  PushGateway(const PushGateway&) = delete;
  PushGateway& operator=(const PushGateway&) = delete;

  int port() const { return port_; }
  std::string endpoint() const;
  /// What has been sent to it: objects with session, method, path, device, body, version, headers
  /// and client.
  boost::json::array requests();
  /// How many different connections those came over.
  std::size_t sessions();
  /// Stops it for good, without a word to those who are connected.
  void kill();
  /// The gateway stops running, its connections staying as they are; and goes on.
  void pause() const;
  void resume() const;

 private:
  std::string readLine();

  pid_t process_ = -1;
  FileDescriptor input_;
  FileDescriptor output_;
  std::string read_;
  int port_ = 0;
};

/// The device whose notifications are treated as the text says.
inline Data device(std::string_view text) {
  return Data(text);
}

}  // namespace velto
