// SPDX-License-Identifier: Apache-2.0
#include "tools/text/DateParser.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <ctime>
#include <string>
#include <system_error>

#include "tools/text/TimeSpan.h"

namespace velto {
namespace {

using alerts::Date;

/// The end of the range that a reader of dates can be asked for: the year 9999.
constexpr double kLatest = 253402300799.0;

/// A day and a time of it, as they are read, before the calendar has its say.
struct Reading {
  std::tm time{};
  double fraction = 0;
  std::optional<long> offset = {};  ///< of UTC, in seconds; absent: local time
};

/// What remains of the text; each `take` gets something off its beginning, or leaves it alone.
class Scanner {
 public:
  explicit Scanner(std::string_view text) : text_(text) { skipBlanks(); }

  bool isAtEnd() const { return text_.empty(); }
  std::string_view rest() const { return text_; }

  bool take(std::string_view word) {
    if (!text_.starts_with(word)) return false;
    text_.remove_prefix(word.size());
    return true;
  }

  std::optional<int> takeDigits(std::size_t fewest, std::size_t most) {
    std::size_t count = 0;
    int number = 0;
    while (count < most && count < text_.size() && isDigit(text_[count])) {
      number = number * 10 + (text_[count++] - '0');
    }
    if (count < fewest) return std::nullopt;
    text_.remove_prefix(count);
    return number;
  }

  /// What stands behind a point; 0 when there is none.
  std::optional<double> takeFraction() {
    if (!text_.starts_with('.')) return 0;
    double number = 0;
    const auto result = std::from_chars(text_.data(), text_.data() + text_.size(), number,
                                        std::chars_format::fixed);
    if (result.ec != std::errc()) return std::nullopt;
    text_.remove_prefix(static_cast<std::size_t>(result.ptr - text_.data()));
    return number;
  }

  void skipBlanks() { text_.remove_prefix(std::min(text_.find_first_not_of(' '), text_.size())); }

 private:
  static bool isDigit(char character) { return character >= '0' && character <= '9'; }

  std::string_view text_;
};

constexpr std::array<std::string_view, 7> kWeekdays = {"Sun", "Mon", "Tue", "Wed",
                                                       "Thu", "Fri", "Sat"};

std::optional<int> takeWeekday(Scanner& scanner) {
  for (std::size_t day = 0; day < kWeekdays.size(); ++day) {
    if (scanner.rest().starts_with(std::string(kWeekdays[day]) + " ")) {
      scanner.take(kWeekdays[day]);
      scanner.skipBlanks();
      return static_cast<int>(day);
    }
  }
  return std::nullopt;
}

bool readDay(Scanner& scanner, std::tm& time) {
  const auto year = scanner.takeDigits(4, 4);
  if (!year || !scanner.take("-")) return false;
  const auto month = scanner.takeDigits(1, 2);
  if (!month || !scanner.take("-")) return false;
  const auto day = scanner.takeDigits(1, 2);
  if (!day || *month < 1 || *month > 12 || *day < 1 || *day > 31) return false;
  time.tm_year = *year - 1900;
  time.tm_mon = *month - 1;
  time.tm_mday = *day;
  return true;
}

bool readTime(Scanner& scanner, Reading& reading) {
  const auto hour = scanner.takeDigits(1, 2);
  if (!hour || !scanner.take(":")) return false;
  const auto minute = scanner.takeDigits(2, 2);
  if (!minute || *hour > 23 || *minute > 59) return false;
  reading.time.tm_hour = *hour;
  reading.time.tm_min = *minute;
  if (!scanner.take(":")) return true;
  const auto second = scanner.takeDigits(2, 2);
  const auto fraction = scanner.takeFraction();
  if (!second || *second > 60 || !fraction) return false;
  reading.time.tm_sec = *second;
  reading.fraction = *fraction;
  return true;
}

/// Z, UTC, or hours and minutes east of it.
bool readZone(Scanner& scanner, Reading& reading) {
  scanner.skipBlanks();
  if (scanner.isAtEnd()) return true;
  if (scanner.take("Z") || scanner.take("z") || scanner.take("UTC")) {
    reading.offset = 0;
    return true;
  }
  const bool isEast = scanner.take("+");
  if (!isEast && !scanner.take("-")) return false;
  const auto hours = scanner.takeDigits(2, 2);
  scanner.take(":");
  const auto minutes = scanner.isAtEnd() ? std::optional(0) : scanner.takeDigits(2, 2);
  if (!hours || !minutes || *hours > 23 || *minutes > 59) return false;
  reading.offset = (isEast ? 1 : -1) * (*hours * 3600L + *minutes * 60L);
  return true;
}

/// Nothing for a day that the month does not have, on which mktime would go on into the next.
std::optional<Date> dateOf(Reading reading, std::optional<int> weekday) {
  const std::tm wanted = reading.time;
  reading.time.tm_isdst = -1;
  const std::time_t seconds = reading.offset ? timegm(&reading.time) : std::mktime(&reading.time);
  if (reading.time.tm_mday != wanted.tm_mday && wanted.tm_sec < 60) return std::nullopt;
  if (weekday && *weekday != reading.time.tm_wday) return std::nullopt;
  return Date::fromUnixSeconds(static_cast<double>(seconds - reading.offset.value_or(0)) +
                               reading.fraction);
}

std::tm localDay(Date date) {
  const auto seconds = static_cast<std::time_t>(std::floor(date.unixSeconds()));
  std::tm time{};
  localtime_r(&seconds, &time);
  time.tm_hour = time.tm_min = time.tm_sec = 0;
  return time;
}

std::optional<Date> dateOfWord(std::string_view text, Date now) {
  constexpr std::array<std::pair<std::string_view, int>, 3> kDays = {
      {{"today", 0}, {"yesterday", -1}, {"tomorrow", 1}}};
  if (text == "now") return now;
  for (const auto& [word, days] : kDays) {
    if (text != word) continue;
    std::tm day = localDay(now);
    day.tm_mday += days;
    day.tm_isdst = -1;
    return Date::fromUnixSeconds(static_cast<double>(std::mktime(&day)));
  }
  return std::nullopt;
}

std::optional<Date> dateOfSpan(std::string_view text, Date now) {
  constexpr std::string_view kAgo = " ago";
  double sign = 1;
  if (text.ends_with(kAgo)) {
    sign = -1;
    text.remove_suffix(kAgo.size());
  } else if (text.starts_with('-') || text.starts_with('+')) {
    sign = text.front() == '-' ? -1 : 1;
    text.remove_prefix(1);
  } else {
    return std::nullopt;
  }
  const auto span = parseTimeSpan(text);
  if (!span || *span > kLatest) return std::nullopt;
  return Date(now.secondsSince2001() + sign * *span);
}

std::optional<Date> dateOfUnixSeconds(std::string_view text) {
  double seconds = 0;
  const auto result = std::from_chars(text.data() + 1, text.data() + text.size(), seconds,
                                      std::chars_format::fixed);
  const bool isWhole = result.ec == std::errc() && result.ptr == text.data() + text.size();
  if (!isWhole || !std::isfinite(seconds) || std::abs(seconds) > kLatest) return std::nullopt;
  return Date::fromUnixSeconds(seconds);
}

std::optional<Date> dateOfCalendar(std::string_view text, Date now) {
  Scanner scanner(text);
  Reading reading;
  const auto weekday = takeWeekday(scanner);
  const bool hasDay = scanner.rest().find('-') == 4;
  if (hasDay ? !readDay(scanner, reading.time) : weekday.has_value()) return std::nullopt;
  if (!hasDay) reading.time = localDay(now);
  const bool isJoined = hasDay && (scanner.take("T") || scanner.take("t"));
  scanner.skipBlanks();
  const bool isDayAlone = hasDay && !isJoined && (scanner.isAtEnd() || scanner.rest() == "UTC");
  if (!isDayAlone && !readTime(scanner, reading)) return std::nullopt;
  if (!readZone(scanner, reading) || !scanner.isAtEnd()) return std::nullopt;
  return dateOf(reading, weekday);
}

}  // namespace

std::optional<Date> parseDate(std::string_view text, Date now) {
  if (const auto date = dateOfWord(text, now)) return date;
  if (const auto date = dateOfSpan(text, now)) return date;
  if (text.starts_with('@')) return dateOfUnixSeconds(text);
  return dateOfCalendar(text, now);
}

}  // namespace velto
