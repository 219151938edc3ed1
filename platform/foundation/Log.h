// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

namespace velto {

/// Where the system's log lines go. Implementations may be used from any thread.
class Log {
 public:
  virtual ~Log() = default;

  /// One line at warning priority.
  virtual void warning(std::string_view line) = 0;

  /// syslog at warning priority, with no identity or facility of our own. In a private system
  /// (VELTO_ROOT set) the lines go to standard error instead: the host's log is not ours then.
  static Log& system();
};

}  // namespace velto
