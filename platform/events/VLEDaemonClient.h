#pragma once

#include <functional>
#include <optional>
#include <string>

#include "platform/foundation/Error.h"
#include "platform/foundation/Shared.h"

namespace velto {

/// The events service, which watches the machine with monitors: the alert bundles among others.
/// Requests return at once. Each is answered exactly once, on a thread of the client's own, with an
/// error or none; a reply may make further requests. Any thread.
class VLEDaemonClient {
 public:
  using Reply = std::function<void(std::optional<Error>)>;

  virtual ~VLEDaemonClient() = default;

  /// The Shared client.
  static VLEDaemonClient& sharedClient() {
    return Shared<VLEDaemonClient>::object("VLEDaemonClient::sharedClient");
  }

  /// Has the service load the bundle at the path as a monitor.
  virtual void loadMonitorBundleWithPath(const std::string& path, Reply reply) = 0;
  /// Has it turn on the loaded monitor of this name.
  virtual void enableMonitorBundleWithName(const std::string& name, Reply reply) = 0;
};

}  // namespace velto
