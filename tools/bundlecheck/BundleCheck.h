// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "tools/bundlecheck/Finding.h"

namespace velto {

/// What is wrong with the bundle at `path`, as the daemon will see it and its readers will: its
/// Info.plist, its texts, its actions with owners and modes, and its code, which is loaded into
/// this process. In the order of the files. One thread.
Findings checkBundle(const std::string& path);

}  // namespace velto
