// SPDX-License-Identifier: Apache-2.0
#include "tools/text/TimeSpan.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <system_error>

namespace velto {
namespace {

constexpr double kMinute = 60;
constexpr double kHour = 60 * kMinute;
constexpr double kDay = 24 * kHour;
constexpr double kYear = 365.25 * kDay;

struct Unit {
  std::string_view name;
  double seconds;
};

constexpr std::array kUnits = {Unit{"seconds", 1},
                               Unit{"second", 1},
                               Unit{"sec", 1},
                               Unit{"s", 1},
                               Unit{"minutes", kMinute},
                               Unit{"minute", kMinute},
                               Unit{"min", kMinute},
                               Unit{"m", kMinute},
                               Unit{"hours", kHour},
                               Unit{"hour", kHour},
                               Unit{"hr", kHour},
                               Unit{"h", kHour},
                               Unit{"days", kDay},
                               Unit{"day", kDay},
                               Unit{"d", kDay},
                               Unit{"weeks", 7 * kDay},
                               Unit{"week", 7 * kDay},
                               Unit{"w", 7 * kDay},
                               Unit{"months", kYear / 12},
                               Unit{"month", kYear / 12},
                               Unit{"M", kYear / 12},
                               Unit{"years", kYear},
                               Unit{"year", kYear},
                               Unit{"y", kYear},
                               Unit{"msec", 1e-3},
                               Unit{"ms", 1e-3},
                               Unit{"usec", 1e-6},
                               Unit{"us", 1e-6},
                               Unit{"", 1}};

bool isLetter(char character) {
  return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z');
}

void skipBlanks(std::string_view& text) {
  text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
}

/// Without a sign and an exponent, which would be mistaken for the unit of what follows.
std::optional<double> takeNumber(std::string_view& text) {
  double number = 0;
  if (text.empty() || text.front() == '-') return std::nullopt;
  const auto result =
      std::from_chars(text.data(), text.data() + text.size(), number, std::chars_format::fixed);
  if (result.ec != std::errc() || !std::isfinite(number)) return std::nullopt;
  text.remove_prefix(static_cast<std::size_t>(result.ptr - text.data()));
  return number;
}

std::optional<double> takeUnit(std::string_view& text) {
  const auto end = std::find_if_not(text.begin(), text.end(), isLetter);
  const std::string_view name = text.substr(0, static_cast<std::size_t>(end - text.begin()));
  const auto* unit = std::find_if(kUnits.begin(), kUnits.end(),
                                  [name](const Unit& one) { return one.name == name; });
  if (unit == kUnits.end()) return std::nullopt;
  text.remove_prefix(name.size());
  return unit->seconds;
}

}  // namespace

std::optional<double> parseTimeSpan(std::string_view text) {
  skipBlanks(text);
  if (text.empty()) return std::nullopt;
  double sum = 0;
  while (!text.empty()) {
    const auto number = takeNumber(text);
    if (!number) return std::nullopt;
    skipBlanks(text);
    const auto unit = takeUnit(text);
    if (!unit) return std::nullopt;
    sum += *number * *unit;
    skipBlanks(text);
  }
  return sum;
}

}  // namespace velto
