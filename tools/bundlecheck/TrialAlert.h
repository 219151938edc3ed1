// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "alerts/VLAlert.h"
#include "platform/foundation/Error.h"

namespace velto {

/// An alert of a bundle as somebody could post it, sent just now, whose attributes are written
/// "key=value" each: a value that is JSON is what it says (93, true, ["a", "b"], {"$date": 0}), any
/// other text is a string. Nothing, with an error, when one has no equals sign or is no value.
std::optional<VLAlert> trialAlert(const std::string& bundle, const std::string& type,
                                  const std::vector<std::string>& attributes, ErrorSlot error);

}  // namespace velto
