// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace velto {

// UTF-8, strictly: an overlong form, a surrogate and a number above U+10FFFF are as wrong as a
// stray byte, and nothing is replaced or dropped unless that is asked for. Any thread.

/// Reads the character at `offset`, which is inside the text, and moves `offset` behind it.
/// Nothing, with `offset` as it was, when no well-formed character starts there.
std::optional<char32_t> nextCharacter(std::string_view text, std::size_t& offset);

/// The offset of the first byte that is not part of well-formed UTF-8; nothing when there is none.
std::optional<std::size_t> invalidUTF8Offset(std::string_view text);

bool isASCII(std::string_view text);

/// The text with a question mark for each byte that is not part of well-formed UTF-8.
std::string withoutInvalidUTF8(std::string text);

/// Appends a Unicode scalar value. False, with nothing appended, for any other number.
bool appendUTF8(std::string& text, char32_t character);

}  // namespace velto
