// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "platform/foundation/Error.h"

namespace velto {

// The encodings of text in property lists' files, beside UTF-8. All conversions are strict: nothing
// is replaced or dropped silently. Any thread.

/// Nothing when the text is not well-formed UTF-8.
std::optional<std::u16string> utf16FromUTF8(std::string_view text);

/// Nothing when a surrogate stands alone.
std::optional<std::string> utf8FromUTF16(std::u16string_view units);

/// `bytes` as UTF-16, two bytes a unit, the more significant one first or second.
std::u16string utf16FromBytes(std::string_view bytes, bool bigEndian);

/// The text of a file: UTF-8, or UTF-16 when a byte-order mark says so. The result is well-formed
/// UTF-8 without the mark.
std::optional<std::string> decodeText(std::string_view bytes, ErrorSlot error);

/// " at line N", for the line that holds the byte at `offset`.
std::string atLine(std::string_view text, std::size_t offset);

}  // namespace velto
