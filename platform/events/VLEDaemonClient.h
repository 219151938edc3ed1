// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "platform/foundation/Error.h"
#include "platform/foundation/Shared.h"

namespace velto {

/// The events service, which watches the machine with monitors: the alert bundles among others.
/// Requests return at once. The reply comes on a thread of the client's own, or before the request
/// returns when no thread can be started; it may make further requests. Any thread.
class VLEDaemonClient {
 public:
  virtual ~VLEDaemonClient() = default;

  /// The Shared client.
  static VLEDaemonClient& sharedClient() {
    return Shared<VLEDaemonClient>::object("VLEDaemonClient::sharedClient");
  }

  /// Has the service load the bundle at the path as a monitor.
  virtual void loadMonitorBundleWithPath(const std::string& path, ErrorReply reply) = 0;
  /// Has it turn on the loaded monitor of this name.
  virtual void enableMonitorBundleWithName(const std::string& name, ErrorReply reply) = 0;
};

}  // namespace velto
