// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include <boost/json/object.hpp>

#include <velto/Client.h>

#include "client/ServiceConnections.h"
#include "platform/connection/VarlinkClient.h"

namespace velto::alerts {

inline constexpr std::string_view kDaemonInterface = "com.ulmora.velto.AlertsDaemon.";
inline constexpr std::string_view kMonitorInterface = "com.ulmora.velto.AlertsMonitor.";

/// A call as it is made.
struct ServiceCall {
  std::string method;           ///< the full name
  std::string parameters = {};  ///< the text of a JSON object, or empty
  ReplyMode mode = ReplyMode::kOne;
  /// It only reads, so carrying it out twice is as good as once.
  bool onlyReads = false;
  CallOptions options = {};
};

/// What became of the parameters of a reply.
enum class Taken {
  kYes,
  kEnough,         ///< and the caller wants no more replies to the call
  kNotUnderstood,  ///< they are not what the method replies
};
using ReplyTaker = std::function<Taken(boost::json::object& parameters)>;

/// Makes calls, each over a connection that no other call uses meanwhile. Any thread.
///
/// A call is repeated once, over a new connection, when the one it was given is lost: always when
/// it was not sent whole, since half a call is never carried out; when it only reads, as long as no
/// reply to it has been taken; any other only if its options say so.
class ServiceCaller {
 public:
  explicit ServiceCaller(ClientOptions options);

  /// Gives the parameters of each reply to `take`. Returns why the call failed: the service's own
  /// error in the last reply, which has been taken before, or any other.
  std::optional<Error> call(const ServiceCall& call, const ReplyTaker& take);

  /// When the time of a call that begins now is up.
  std::optional<VarlinkClient::Deadline> deadline(const CallOptions& options) const;

  ServiceConnections& connections() { return connections_; }

 private:
  struct Exchange;
  std::optional<Error> attempt(Exchange& exchange, std::unique_ptr<VarlinkClient> connection);

  const std::optional<std::chrono::milliseconds> timeLimit_;
  ServiceConnections connections_;
};

}  // namespace velto::alerts
