// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "tools/frame/Session.h"

namespace velto {

/// The names of the methods of an interface, as the daemon describes it: that of `method`, a full
/// name. Empty when it does not.
std::vector<std::string> methodNames(Session& session, const std::string& method);

}  // namespace velto
