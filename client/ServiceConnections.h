// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <velto/Error.h>

#include "platform/connection/VarlinkClient.h"
#include "platform/foundation/FileDescriptor.h"
#include "platform/foundation/Mutex.h"

namespace velto::alerts {

/// The connections to the service that wait for calls. A call has one to itself: while one of them
/// is out, the next call gets another. So a posting that waits for its delivery holds up nobody,
/// and no reply can be taken for that of another call. Any thread.
class ServiceConnections {
 public:
  explicit ServiceConnections(std::string path);

  const std::string& path() const { return path_; }

  /// One that was used before and still holds; null when there is none. A service that was
  /// restarted shows as connections that do not hold, which are dropped here.
  std::unique_ptr<VarlinkClient> takeIdle();
  /// A new one, made by the deadline at the latest. Null, with the error, when there is none to be
  /// had.
  std::unique_ptr<VarlinkClient> connect(std::optional<VarlinkClient::Deadline> deadline,
                                         std::optional<Error>& error) const;
  /// Keeps a connection, over which nothing is under way, for later calls.
  void giveBack(std::unique_ptr<VarlinkClient> connection);

  /// Ends whatever waits over one of these connections, now and later.
  void cancel();
  bool isCancelled() const;

 private:
  const std::string path_;
  const FileDescriptor cancelSignal_;
  Mutex mutex_;
  std::vector<std::unique_ptr<VarlinkClient>> idle_ VELTO_GUARDED_BY(mutex_);
};

/// The moment when so much time is up; none without a limit, or for one that nobody lives to see.
std::optional<VarlinkClient::Deadline> deadlineAfter(
    std::optional<std::chrono::milliseconds> timeLimit);

/// Connects to the service at `path`; what then waits is ended by `cancelSignal`.
std::unique_ptr<VarlinkClient> connectToService(const std::string& path, int cancelSignal,
                                                std::optional<VarlinkClient::Deadline> deadline,
                                                std::optional<Error>& error);

}  // namespace velto::alerts
