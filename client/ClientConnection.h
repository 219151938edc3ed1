// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include <boost/json/object.hpp>

#include "platform/connection/VarlinkClient.h"
#include "platform/foundation/Error.h"

namespace velto {

/// The domain of a client's errors, whose codes are the system's error numbers.
inline constexpr std::string_view kClientErrorDomain = "ClientConnection";

/// One reply to a call.
struct ClientReply {
  /// The full name of the Varlink error, empty when the call was carried out.
  std::string error;
  boost::json::object parameters;
  /// More replies to the same call follow.
  bool continues = false;
};

/// A client's connection to a Varlink service. Its operations wait for the service, as long as it
/// takes. After one has failed, the connection is of no further use. One thread at a time.
class ClientConnection {
 public:
  /// Connects to the socket at `path`. Null, with an error that names the path, when nobody serves
  /// it.
  static std::unique_ptr<ClientConnection> connect(const std::string& path, ErrorSlot error);

  /// Sends a call. `method` is the full name, `parameters` the text of a JSON object, or empty.
  bool send(std::string_view method, std::string_view parameters, ReplyMode mode, ErrorSlot error);
  /// The next reply to the calls sent, in their order.
  std::optional<ClientReply> receive(ErrorSlot error);

  /// Sends a call and waits for its reply.
  std::optional<ClientReply> call(std::string_view method, std::string_view parameters,
                                  ErrorSlot error);
  /// Sends a call and gives each of its replies to `receiver`, until the last one. False, with an
  /// error, when the connection failed before that.
  bool call(std::string_view method, std::string_view parameters, ReplyMode mode,
            const std::function<void(const ClientReply&)>& receiver, ErrorSlot error);

 private:
  explicit ClientConnection(std::unique_ptr<VarlinkClient> client) : client_(std::move(client)) {}

  const std::unique_ptr<VarlinkClient> client_;
};

}  // namespace velto
