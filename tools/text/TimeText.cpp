// SPDX-License-Identifier: Apache-2.0
#include "tools/text/TimeText.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <ctime>

#include "tools/text/Message.h"

namespace velto {
namespace {

using alerts::Date;

// The years 0 to 9999, in seconds since 1970.
constexpr double kEarliest = -62167219200.0;
constexpr double kLatest = 253402300799.0;

constexpr double kMinute = 60;
constexpr double kHour = 60 * kMinute;
constexpr double kDay = 24 * kHour;

bool hasCommonYear(Date date) {
  return date.unixSeconds() >= kEarliest && date.unixSeconds() < kLatest;
}

std::tm brokenDown(std::time_t seconds, bool isUTC) {
  std::tm time{};
  isUTC ? gmtime_r(&seconds, &time) : localtime_r(&seconds, &time);
  return time;
}

}  // namespace

std::optional<std::string> rfc3339(Date date) {
  if (!hasCommonYear(date)) return std::nullopt;
  const auto microseconds = static_cast<std::int64_t>(std::llround(date.unixSeconds() * 1e6));
  constexpr std::int64_t kSecond = 1'000'000;
  const std::int64_t rest = ((microseconds % kSecond) + kSecond) % kSecond;
  const std::tm time = brokenDown((microseconds - rest) / kSecond, true);
  return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}.{:06}Z", time.tm_year + 1900,
                     time.tm_mon + 1, time.tm_mday, time.tm_hour, time.tm_min, time.tm_sec, rest);
}

std::string clockText(Date date, bool isUTC) {
  if (!hasCommonYear(date)) return fmt::format("{:.0f} s", date.unixSeconds());
  const std::tm time = brokenDown(static_cast<std::time_t>(std::floor(date.unixSeconds())), isUTC);
  std::array<char, 64> text{};
  const std::size_t size =
      isUTC ? std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S UTC", &time)
            : std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S %Z", &time);
  return {text.data(), size};
}

std::string spanText(double seconds) {
  const auto units = [seconds](double unit) { return static_cast<std::int64_t>(seconds / unit); };
  if (seconds < kMinute) return say("{} s", units(1));
  if (seconds < kHour) return say("{} min", units(kMinute));
  if (seconds < 2 * kDay) return say("{} h", units(kHour));
  if (seconds < 60 * kDay) return sayCount("{} day", "{} days", units(kDay));
  if (seconds < 730 * kDay) return sayCount("{} month", "{} months", units(30.44 * kDay));
  if (seconds > kLatest) return tr("for ever");
  return sayCount("{} year", "{} years", units(365.25 * kDay));
}

std::string relativeText(Date date, Date now) {
  const double age = now.secondsSince2001() - date.secondsSince2001();
  if (std::abs(age) < 1) return tr("now");
  return age > 0 ? say("{} ago", spanText(age)) : say("in {}", spanText(-age));
}

}  // namespace velto
