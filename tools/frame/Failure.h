// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <utility>

#include <velto/Error.h>

#include "tools/frame/ExitStatus.h"

namespace velto {

/// Why a verb ends without having done what it was asked for. Verbs throw it, and `main` tells it:
/// nothing else could be done about it anywhere in between.
struct Failure {
  ExitStatus status = kExitFailed;
  std::string what = {};    ///< in the reader's language, printable, without a point
  std::string advice = {};  ///< what to do next, likewise; may be empty
  std::optional<alerts::Error> error = {};

  /// Both, in one line.
  std::string line() const;
};

/// Wrong usage.
Failure usageFailure(std::string what, std::string advice = {});

/// What the daemon said, or why it said nothing.
Failure failureOf(const alerts::Error& error);

/// The value of a successful outcome; throws the failure of another one.
template <typename T>
T required(alerts::Outcome<T> outcome) {
  if (outcome.error) throw failureOf(*outcome.error);
  return std::move(outcome.value).value_or(T());
}

inline void require(const alerts::Outcome<void>& outcome) {
  if (outcome.error) throw failureOf(*outcome.error);
}

}  // namespace velto
