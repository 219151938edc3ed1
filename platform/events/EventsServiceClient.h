#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <string>
#include <string_view>
#include <thread>

#include <boost/json/object.hpp>

#include "platform/events/VLEDaemonClient.h"
#include "platform/foundation/FileDescriptor.h"
#include "platform/foundation/Mutex.h"

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
/// answered with an error.
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
  struct Request {
    std::string message;  ///< with its NUL
    ErrorReply reply;
  };

  void send(std::string_view method, boost::json::object parameters, ErrorReply reply);
  bool add(Request& request) VELTO_EXCLUDES(mutex_);
  std::optional<Request> next() VELTO_EXCLUDES(mutex_);
  void work();
  std::optional<Error> exchange(const std::string& message) const;

  const std::string socketPath_;
  const std::chrono::milliseconds timeLimit_;
  const FileDescriptor stopSignal_;  ///< readable when the client goes

  Mutex mutex_;
  std::condition_variable changed_;
  std::deque<Request> requests_ VELTO_GUARDED_BY(mutex_);
  bool stops_ VELTO_GUARDED_BY(mutex_) = false;
  std::thread thread_ VELTO_GUARDED_BY(mutex_);
};

}  // namespace velto
