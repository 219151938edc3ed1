// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "tools/frame/ExitStatus.h"
#include "tools/frame/Session.h"

namespace velto {

/// `alertsctl call`: makes one call and prints the reply's parameters.
struct CallCommand {
  std::string method = {};  ///< full, or without the interface's name
  std::string parameters =
      {};  ///< the text of a JSON object, empty for none, "-" for standard input
  bool more = false;

  /// Makes the call at the daemon's socket. Throws a Failure for what is no call, for one that
  /// would do what hardly anybody means, and for an error that the daemon answers with.
  ExitStatus run(Session& session) const;
};

}  // namespace velto
