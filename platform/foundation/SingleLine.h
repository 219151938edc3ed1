// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace velto {

/// A text from elsewhere as part of a line of the log: a run of line breaks, control characters and
/// blanks becomes one blank, with none at either end, and a byte that is not well-formed UTF-8
/// becomes "?". Any thread.
std::string singleLine(std::string_view text);

}  // namespace velto
