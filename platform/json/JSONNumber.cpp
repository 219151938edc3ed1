// SPDX-License-Identifier: Apache-2.0
#include "platform/json/JSONNumber.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <system_error>

namespace velto {
namespace {

/// Nothing unless the whole text is a number of this type.
template <typename Number>
std::optional<JSONNumber> readAs(std::string_view text) {
  Number number{};
  const char* const end = text.data() + text.size();
  const auto result = std::from_chars(text.data(), end, number);
  return result.ec == std::errc() && result.ptr == end ? std::optional<JSONNumber>(number)
                                                       : std::nullopt;
}

/// The exponent that is written behind the digits, or nothing when it is beyond an int's range.
std::optional<std::int64_t> writtenExponent(std::string_view text) {
  const std::size_t mark = text.find_first_of("eE");
  if (mark == std::string_view::npos) return 0;
  text.remove_prefix(mark + 1);
  if (text.front() == '+') text.remove_prefix(1);
  constexpr std::int64_t kLargest = std::numeric_limits<std::int32_t>::max();
  const auto exponent = readAs<std::int64_t>(text);
  const std::int64_t* held = exponent ? std::get_if<std::int64_t>(&*exponent) : nullptr;
  return held != nullptr && *held <= kLargest && *held >= -kLargest ? std::optional(*held)
                                                                    : std::nullopt;
}

/// Whether a number, which no double can hold, is below 1.
bool isTiny(std::string_view text, std::int64_t exponent) {
  const std::string_view digits = text.substr(0, text.find_first_of("eE"));
  const std::size_t point = std::min(digits.find('.'), digits.size());
  const std::size_t first = digits.find_first_of("123456789");
  const auto above = static_cast<std::int64_t>(point) - static_cast<std::int64_t>(first);
  // The power of ten of the first digit that counts; the point itself takes a place.
  return (above > 0 ? above - 1 : above) + exponent < 0;
}

std::optional<JSONNumber> real(std::string_view text) {
  const std::optional<std::int64_t> exponent = writtenExponent(text);
  if (!exponent) return std::nullopt;
  if (auto exact = readAs<double>(text)) return exact;
  if (!isTiny(text, *exponent)) return std::nullopt;
  return text.starts_with('-') ? -0.0 : 0.0;
}

}  // namespace

std::optional<JSONNumber> jsonNumber(std::string_view text) {
  const bool isWhole = text.find_first_of(".eE") == std::string_view::npos;
  if (auto number = isWhole ? readAs<std::int64_t>(text) : std::nullopt) return number;
  if (auto number = isWhole ? readAs<std::uint64_t>(text) : std::nullopt) return number;
  return real(text);
}

}  // namespace velto
