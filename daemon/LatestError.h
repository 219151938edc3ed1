// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <utility>

#include "platform/foundation/Error.h"

namespace velto {

/// Does a step of an operation that goes on whatever comes of it, with a slot of its own. The
/// step's error, if there is one, replaces that of an earlier step. Returns what the step returns.
template <typename Step>
auto withLatestError(std::optional<Error>& error, Step step) {
  std::optional<Error> failure;
  auto result = step(&failure);
  if (failure) {
    error = std::move(failure);
  }
  return result;
}

}  // namespace velto
