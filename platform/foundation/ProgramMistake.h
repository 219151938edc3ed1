// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

namespace velto {

/// Ends the process with a line on standard error: for what only a wrong program can cause.
[[noreturn]] void programMistake(std::string_view what);

}  // namespace velto
