// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <utility>

#include "platform/foundation/Error.h"

namespace velto {

/// Takes what comes of an operation, an error or nothing, and counts how often it is told.
struct ErrorAnswer {
  int calls = 0;
  std::optional<Error> error;

  ErrorReply block() {
    return [this](std::optional<Error> why) {
      ++calls;
      error = std::move(why);
    };
  }
};

}  // namespace velto
