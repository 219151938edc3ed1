// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include "platform/connection/EventSource.h"

namespace velto {

/// Tells the service manager, as often as it wants to be told (WATCHDOG_USEC), that the run loop
/// still waits for events and serves them.
class Watchdog : public EventSource {
 public:
  /// Null when nobody wants to be told, or the system has no timer left: then it will end us.
  static std::unique_ptr<Watchdog> wanted();

  Event serve() noexcept override;

 private:
  using EventSource::EventSource;
};

}  // namespace velto
