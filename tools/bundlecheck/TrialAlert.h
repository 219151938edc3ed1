// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "alerts/VLAlert.h"
#include "platform/foundation/Error.h"

namespace velto {

/// An alert of a bundle as somebody could post it, sent just now, whose attributes are written as
/// `alertsctl post` has them: "name=text", or "name:=json" for a value of any kind (93, true,
/// ["a", "b"], {"$date": 0}). Nothing, with an error, when one has no equals sign or is no value.
std::optional<VLAlert> trialAlert(const std::string& bundle, const std::string& type,
                                  const std::vector<std::string>& attributes, ErrorSlot error);

}  // namespace velto
