// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace velto {

/// The text in quoted-printable encoding (RFC 2045, section 6.7), in lines of at most 76 characters
/// that end with "\n". A "\n" or "\r\n" of the text ends a line; the last line is ended if it is
/// not. No line begins with "." or "From ", which mail programs would take for something else.
std::string quotedPrintable(std::string_view text);

}  // namespace velto
