// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <utility>

#include "daemon/AlertsDaemon.h"
#include "tests/support/ErrorAnswer.h"
#include "tests/support/ScratchSystem.h"

namespace velto {

/// Takes a reply and insists that there is exactly one.
template <typename Result>
struct Answer {
  int calls = 0;
  std::optional<Result> data;
  std::optional<Error> error;

  Reply<Result> block() {
    return [this](std::optional<Result> replied, std::optional<Error> why) {
      ++calls;
      data = std::move(replied);
      error = std::move(why);
    };
  }
};

inline AlertsDaemonServices servicesOf(ScratchSystem& system) {
  return {system.container, system.bundles, system.pusher, system.mailer, system.clock, system.log};
}

inline const Error kPrivilegeError =
    makeError("AlertsDaemon", 103, "Error: Insufficient privileges.");
inline const Error kEntitlementError =
    makeError("AlertsDaemon", 150, "Error: Insufficient entitlements.");

}  // namespace velto
