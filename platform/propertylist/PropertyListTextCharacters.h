// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace velto {

// The characters of the old text form.

/// Whether the character may stand in a string without quotes.
bool isUnquotedCharacter(char character);

/// What a backslash and this letter stand for: the letter itself where it has no special meaning.
char escapedCharacter(char letter);

/// The Unicode character of an octal escape: the form dates from before Unicode, so that a number
/// above 127 counts in the NEXTSTEP encoding.
char16_t nextstepCharacter(std::uint8_t code);

}  // namespace velto
