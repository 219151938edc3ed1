// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/alerts/ListOptions.h"
#include "tools/frame/ExitStatus.h"
#include "tools/frame/Session.h"

namespace velto {

/// Tells the changes as they come, until the program is interrupted. When the daemon goes away it
/// waits for the next one.
ExitStatus follow(Session& session, const ListOptions& options);

/// The newest alerts first, oldest at the top (ten unless told otherwise), then the same.
ExitStatus followAfterList(Session& session, const ListOptions& options);

}  // namespace velto
