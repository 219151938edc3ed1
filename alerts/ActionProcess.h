// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/foundation/Error.h"

namespace velto {

/// How the program of a recovery action ended.
struct ActionOutcome {
  enum class Kind {
    kExited,     ///< with `status`
    kSignalled,  ///< by the signal `status`
    kTimedOut,   ///< its whole process group has been killed
  };

  Kind kind = Kind::kExited;
  int status = 0;
  /// The beginning of what it wrote to its standard error, at most 64 KiB.
  std::string standardError;
  /// How many bytes came after that.
  std::size_t droppedBytes = 0;
};

/// Runs a program to its end, for at most `limit`; then its whole process group is killed. It reads
/// `input` on its standard input, its standard output goes nowhere, and its environment is clean: a
/// PATH of the system's folders and a locale of UTF-8. Nothing, with an error, when it cannot be
/// started or how it ended cannot be known. Waits for the program; any thread.
std::optional<ActionOutcome> runAction(const std::string& executable,
                                       const std::vector<std::string>& arguments,
                                       std::string_view input, std::chrono::milliseconds limit,
                                       ErrorSlot error);

}  // namespace velto
