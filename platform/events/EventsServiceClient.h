// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

#include "platform/events/VLEDaemonClient.h"
#include "platform/foundation/FileDescriptor.h"
#include "platform/foundation/SerialQueue.h"

namespace velto {

/// The domain of the errors about the events service. The code of a failed system call is its
/// errno.
inline constexpr std::string_view kEventsErrorDomain = "VeltoEventsDaemon";
inline constexpr int kEventsTimedOutErrorCode = 1001;   ///< no answer in time
inline constexpr int kEventsNoReplyErrorCode = 1002;    ///< the service hung up, or sent nonsense
inline constexpr int kEventsRefusedErrorCode = 1003;    ///< it answered with an error
inline constexpr int kEventsCancelledErrorCode = 1004;  ///< the client went before the answer

/// Speaks Varlink to the events service's socket, interface com.ulmora.velto.EventsDaemon: one
/// request after the other, a connection each, on a thread that begins with the first request. A
/// request waits a limited time for its answer. When the client goes, what is not answered yet is
/// answered with an error; so no reply may destroy it.
class EventsServiceClient : public VLEDaemonClient {
 public:
  static constexpr std::chrono::milliseconds kTimeLimit = std::chrono::seconds(30);

  explicit EventsServiceClient(std::string socketPath,
                               std::chrono::milliseconds timeLimit = kTimeLimit);
  ~EventsServiceClient() override;
  EventsServiceClient(const EventsServiceClient&) = delete;
  EventsServiceClient& operator=(const EventsServiceClient&) = delete;

  void loadMonitorBundleWithPath(const std::string& path, ErrorReply reply) override;
  void enableMonitorBundleWithName(const std::string& name, ErrorReply reply) override;

 private:
  /// Makes the call on the queue. `parameters` is the text of a JSON object.
  void request(std::string_view method, std::string parameters, const ErrorReply& reply);
  std::optional<Error> call(const std::string& method, const std::string& parameters) const;
  Error errorAbout(const Error& failure) const;

  const std::string socketPath_;
  const std::chrono::milliseconds timeLimit_;
  const FileDescriptor stopSignal_;  ///< readable when the client goes

  SerialQueue queue_;  ///< ends first, since its jobs need all the others
};

}  // namespace velto
