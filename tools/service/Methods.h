// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "tools/frame/Session.h"

namespace velto {

/// How the daemon describes the interface of `method`, a full name. Empty when it does not.
std::string interfaceDescription(Session& session, const std::string& method);

}  // namespace velto
