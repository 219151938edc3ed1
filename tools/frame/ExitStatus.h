// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace velto {

/// How alertsctl ends. Scripts rely on the numbers.
enum ExitStatus {
  kExitDone = 0,          ///< done; an empty list is a list
  kExitFailed = 1,        ///< the daemon answered with an error, or a file could not be used
  kExitUsage = 2,         ///< wrong usage: nothing was done
  kExitWrong = 3,         ///< `status` or `check`: something is wrong
  kExitNotPermitted = 4,  ///< this user may not
  kExitNoDaemon = 7,      ///< nobody serves the socket
};

}  // namespace velto
