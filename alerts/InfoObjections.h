// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "platform/foundation/PropertyList.h"

namespace velto {

/// The keys of an Info.plist that are this system's own.
inline constexpr std::array<std::string_view, 2> kOwnInfoKeys = {"VLAlertTypes", "VLTextFormat"};

/// What a bundle's author has meant to say in the information dictionary, and has not: a phrase
/// each. Any thread.
std::vector<std::string> objectionsToInfo(const PropertyList::Dictionary& info);

}  // namespace velto
