// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <variant>

namespace velto {

/// A number that is written without fraction and exponent, and fits, is an integer, and signed when
/// it can be; every other one is a real.
using JSONNumber = std::variant<std::int64_t, std::uint64_t, double>;

/// The number in a text that has the form of one. A real is the double nearest to what is written,
/// so that it survives any number of round trips. Nothing for one beyond a double's range, or with
/// an exponent beyond a 32-bit integer's. Any thread.
std::optional<JSONNumber> jsonNumber(std::string_view text);

}  // namespace velto
