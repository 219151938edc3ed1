// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace velto {

// How much room a text takes in a terminal: wide characters take two columns, combining ones none.
// Texts are printable UTF-8. Any thread.

std::size_t displayWidth(std::string_view text);

/// The text if it fits into `width` columns, or else as much of its beginning as fits with
/// `ellipsis` behind it.
std::string fitted(std::string_view text, std::size_t width, std::string_view ellipsis);

/// With blanks behind it, or before it, up to `width` columns.
std::string padded(std::string text, std::size_t width);
std::string paddedBefore(const std::string& text, std::size_t width);

}  // namespace velto
