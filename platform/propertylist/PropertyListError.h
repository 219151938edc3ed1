// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string_view>

#include "platform/foundation/Error.h"

namespace velto {

/// The domain of every error about coding property lists, and its one code: what differs is in the
/// description.
inline constexpr std::string_view kPropertyListErrorDomain = "PropertyListSerialization";
inline constexpr std::int64_t kPropertyListErrorCode = 1;

/// Reports a failure and converts to the empty result, so that a reader can `return` it.
inline std::nullopt_t propertyListFailure(ErrorSlot error, std::string_view description) {
  setIfEmpty(error, makeError(kPropertyListErrorDomain, kPropertyListErrorCode, description));
  return std::nullopt;
}

}  // namespace velto
