// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

#include "platform/foundation/Error.h"

namespace velto {

/// The domain of the errors of a notification that got no answer from the push service. Codes below
/// 1000 are libcurl's (libcurl-errors(3)).
inline constexpr std::string_view kPushServiceErrorDomain = "UlmoraPushServiceProvider";
inline constexpr int kPushIdentityErrorCode = 1001;   ///< no usable identity file
inline constexpr int kPushTimedOutErrorCode = 1002;   ///< no answer in time
inline constexpr int kPushRefusedErrorCode = 1003;    ///< turned away unread, twice
inline constexpr int kPushNoThreadErrorCode = 1004;   ///< nobody there to send it
inline constexpr int kPushCancelledErrorCode = 1005;  ///< the provider went before the answer

inline Error pushCancelled() {
  return makeError(kPushServiceErrorDomain, kPushCancelledErrorCode,
                   "The notification was given up.");
}

}  // namespace velto
