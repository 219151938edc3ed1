// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace velto {

// What others have written, made fit for a terminal: nothing in it can move the cursor, colour what
// follows or turn the direction of writing. Control characters are shown as \n, \x1b or \u202e, and
// bytes that are not UTF-8 as \xff. Any thread.

/// As part of a line.
std::string printable(std::string_view text);

/// As lines: line breaks stay, and tabulators become blanks.
std::string printableLines(std::string_view text);

/// JSON with what is harmful in its texts escaped as JSON does it, which changes none of its
/// values.
std::string printableJSON(std::string_view json);

/// With every character beyond ASCII escaped as well, for terminals that have no others.
std::string asciiOnly(std::string_view text);

}  // namespace velto
