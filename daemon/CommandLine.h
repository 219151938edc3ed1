// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>

namespace velto {

/// Answers the command line: what the process ends with then, or nothing when it is to serve.
std::optional<int> answerArguments(int argc, char** argv);

}  // namespace velto
