// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

namespace velto {

/// The domain of the errors about bundles, their alerts and their actions.
inline constexpr std::string_view kBundleErrorDomain = "VeltoFoundation";

/// Its codes.
inline constexpr int kAlertWithoutBundleErrorCode = 1;
inline constexpr int kAlertWithoutTypeErrorCode = 2;
inline constexpr int kBundleNotOpenedErrorCode = 3;
inline constexpr int kNoSuchAlertTypeErrorCode = 4;
inline constexpr int kFormatterFailedErrorCode = 5;
inline constexpr int kCodeNotLoadedErrorCode = 6;
inline constexpr int kNoSuchActionErrorCode = 7;
inline constexpr int kActionRefusedErrorCode = 8;  ///< its file cannot be trusted
inline constexpr int kActionFailedErrorCode = 9;
inline constexpr int kActionTimedOutErrorCode = 10;
inline constexpr int kNoAlertErrorCode = 11;  ///< an action for an alert that is not there

}  // namespace velto
