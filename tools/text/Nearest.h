// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace velto {

/// Those of the names that somebody may have meant who wrote `written`: begun with it, or differing
/// in a few letters; nearest first, three at most. Any thread.
std::vector<std::string> nearestNames(std::string_view written,
                                      const std::vector<std::string>& names);

/// "did you mean X, Y?" for the nearest names, or nothing when none is near.
std::string suggestion(std::string_view written, const std::vector<std::string>& names);

}  // namespace velto
