#pragma once

#include <string_view>

namespace velto {

/// Ends the process with the line "<where>: <what>" on standard error: for what only a wrong
/// program can cause.
[[noreturn]] void programMistake(std::string_view where, std::string_view what);

}  // namespace velto
