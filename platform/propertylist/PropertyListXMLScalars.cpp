// SPDX-License-Identifier: Apache-2.0
#include "platform/propertylist/PropertyListXMLScalars.h"

#include <charconv>
#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "platform/foundation/Base64.h"

namespace velto::xml_property_list {

namespace {

constexpr std::string_view kWhiteSpace = " \t\r\n";

/// Takes one sign off the front.
bool takeMinus(std::string_view& text) {
  const bool minus = text.starts_with('-');
  if (minus || text.starts_with('+')) text.remove_prefix(1);
  return minus;
}

template <typename Number, typename... Base>
std::optional<Number> wholeNumber(std::string_view text, Base... base) {
  Number number{};
  const char* end = text.data() + text.size();
  const auto [behind, problem] = std::from_chars(text.data(), end, number, base...);
  return problem == std::errc() && behind == end ? std::optional(number) : std::nullopt;
}

/// The number that the digits of `text` make where `pattern` has a 'd', as long as all the other
/// characters are those of the pattern. Each separator starts a new number.
bool matchFields(std::string_view text, std::string_view pattern, std::vector<unsigned>& fields) {
  if (text.size() != pattern.size()) return false;
  fields.assign(1, 0);
  for (std::size_t i = 0; i < pattern.size(); ++i) {
    if (pattern[i] != 'd') {
      if (text[i] != pattern[i]) return false;
      fields.push_back(0);
    } else {
      if (text[i] < '0' || text[i] > '9') return false;
      fields.back() = fields.back() * 10 + static_cast<unsigned>(text[i] - '0');
    }
  }
  return true;
}

}  // namespace

std::string_view trimmed(std::string_view text) {
  const std::size_t start = text.find_first_not_of(kWhiteSpace);
  if (start == std::string_view::npos) return {};
  return text.substr(start, text.find_last_not_of(kWhiteSpace) - start + 1);
}

std::optional<PropertyList> parseInteger(std::string_view text) {
  text = trimmed(text);
  const bool minus = takeMinus(text);
  const bool hexadecimal = text.starts_with("0x") || text.starts_with("0X");
  if (hexadecimal) text.remove_prefix(2);
  const auto magnitude = wholeNumber<std::uint64_t>(text, hexadecimal ? 16 : 10);
  if (!magnitude) return std::nullopt;
  if (!minus) return PropertyList(*magnitude);
  constexpr std::uint64_t kLowest = std::uint64_t{1} << 63;
  if (*magnitude > kLowest) return std::nullopt;
  return PropertyList(static_cast<std::int64_t>(0 - *magnitude));
}

std::optional<double> parseReal(std::string_view text) {
  text = trimmed(text);
  const bool minus = takeMinus(text);
  if (text.starts_with('-')) return std::nullopt;
  const auto magnitude = wholeNumber<double>(text);
  if (!magnitude) return std::nullopt;
  return minus ? -*magnitude : *magnitude;
}

std::optional<Date> parseDate(std::string_view text) {
  using namespace std::chrono;
  std::vector<unsigned> fields;
  if (!matchFields(trimmed(text), "dddd-dd-ddTdd:dd:ddZ", fields)) return std::nullopt;
  const year_month_day day{year(static_cast<int>(fields[0])), month(fields[1]),
                           std::chrono::day(fields[2])};
  if (!day.ok() || fields[3] > 23 || fields[4] > 59 || fields[5] > 59) return std::nullopt;
  const seconds since = sys_days(day) - sys_days(2001y / January / 1) + hours(fields[3]) +
                        minutes(fields[4]) + seconds(fields[5]);
  return Date(static_cast<double>(since.count()));
}

std::optional<Data> parseBase64(std::string_view text) {
  std::string digits(text);
  std::erase_if(digits, [](char c) { return kWhiteSpace.find(c) != std::string_view::npos; });
  return base64Decoded(digits);
}

}  // namespace velto::xml_property_list
