// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace velto {

/// Runs a program of the PATH and gives `take` each line of its output as it comes; its standard
/// error is ours. Returns its exit status; throws a Failure when it cannot be started. One thread.
int forEachLineOf(const std::vector<std::string>& command,
                  const std::function<void(const std::string& line)>& take);

}  // namespace velto
