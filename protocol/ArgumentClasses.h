// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/connection/Interface.h"

namespace velto {

// The classes that this protocol's white-lists can admit.
inline constexpr ArgumentClass kVLAlertClass{0};
inline constexpr ArgumentClass kStringClass{1};
inline constexpr ArgumentClass kDictionaryClass{2};
inline constexpr ArgumentClass kArrayClass{3};

}  // namespace velto
