// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace velto {

/// How many arrays and objects may lie within each other in a call, the outermost included.
inline constexpr std::size_t kMaximumJSONDepth = 64;

/// Whether the text is one JSON value (RFC 8259). Strict: false for text that is not JSON to its
/// end, not UTF-8, nested more deeply than kMaximumJSONDepth, or holding a number that jsonNumber
/// gives nothing for. Takes no memory. Any thread.
bool isJSON(std::string_view text);

/// Where a text stops being JSON, and what would have had to stand there: "',' or '}'", for people.
struct JSONMistake {
  std::size_t offset = 0;
  std::string_view expected = {};  ///< lives as long as the program
};

/// Why a text is no JSON; nothing when it is. Any thread.
std::optional<JSONMistake> jsonMistake(std::string_view text);

/// The character that the escape at `at`, a backslash, stands for; moves `at` behind it. Nothing
/// when there is no such escape, or half a surrogate pair.
std::optional<char32_t> escapedCharacter(std::string_view text, std::size_t& at);

}  // namespace velto
