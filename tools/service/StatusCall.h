// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <string>
#include <vector>

#include <velto/Monitor.h>

#include "tools/frame/Session.h"

namespace velto {

/// A daemon that is well answers sooner.
inline constexpr std::chrono::seconds kStatusTimeLimit(10);

/// What is wrong with the service, a printable line each, with what to do.
std::vector<std::string> problemsOf(const Session& session, const alerts::Status& status);

/// The channel's last delivery of the last hour has failed.
bool hasFailedLately(const Session& session, const alerts::Channel& channel);

/// As everybody may ask for it; "?" when it is not told.
std::string daemonVersion(Session& session);

}  // namespace velto
