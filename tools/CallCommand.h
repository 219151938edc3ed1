// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <iosfwd>
#include <string>

namespace velto {

/// How alertsctl ends.
enum ExitStatus {
  kExitSuccess = 0,
  kExitRefused = 1,  ///< the daemon answered with an error
  kExitFailure = 2,  ///< there was no answer: wrong usage, or no daemon
};

/// `alertsctl call`: makes one call and prints the reply's parameters.
struct CallCommand {
  std::string method;      ///< full, or without the interface's name
  std::string parameters;  ///< the text of a JSON object, empty for none, "-" for standard input
  bool more = false;

  /// Makes the call at the daemon's socket. Errors are told in one line each on `errors`.
  ExitStatus run(std::istream& input, std::ostream& output, std::ostream& errors) const;
};

}  // namespace velto
