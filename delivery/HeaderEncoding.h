// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace velto {

/// A header text as one encoded word of RFC 2047, "Q" encoding, UTF-8. Text of nothing but ASCII
/// letters, digits and "!*+-/=_" comes back as it is; a blank or a line feed becomes "_". The word
/// is not folded, however long it is.
std::string encodedHeaderText(std::string_view text);

/// An address with its display name encoded: the part before the last "<". The rest, and an address
/// without "<", is left as it is.
std::string encodedAddress(std::string_view address);

}  // namespace velto
