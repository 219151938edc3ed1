// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "daemon/SignalSource.h"
#include "platform/connection/RunLoop.h"

namespace velto {

/// Ends the daemon in order when the service manager says so (SIGTERM): no call is begun any more,
/// those under way end and are answered, for at most as long as a unit's stop may take, and the run
/// loop returns. A second SIGTERM ends the process at once, as every other signal does but the one
/// to reload.
class StopSignal : public SignalSource {
 public:
  /// Takes the signal for itself. Once in a process.
  explicit StopSignal(RunLoop& runLoop);

  Event serve() noexcept override;

 private:
  RunLoop& runLoop_;
};

}  // namespace velto
