// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>

#include "daemon/SignalSource.h"

namespace velto {

/// Reloads when the service manager says so (SIGHUP), beside the calls under way. The service
/// manager is told of the beginning and of the end, so that its own command can wait for it.
class ReloadSignal : public SignalSource {
 public:
  /// Takes the signal for itself. Once in a process. `reload` is called by one thread at a time and
  /// throws nothing.
  explicit ReloadSignal(std::function<void()> reload);

  Event serve() noexcept override;

 private:
  const std::function<void()> reload_;
};

}  // namespace velto
