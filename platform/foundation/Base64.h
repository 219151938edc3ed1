// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/foundation/Data.h"

namespace velto {

/// Base64 with padding, without line breaks (RFC 4648, section 4).
std::string base64Encoded(const Data& data);

/// The bytes, or nothing for text that is not base64: a character outside the alphabet, white space
/// included, or padding that is missing or misplaced.
std::optional<Data> base64Decoded(std::string_view text);

}  // namespace velto
