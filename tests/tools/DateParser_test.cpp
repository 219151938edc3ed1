// SPDX-License-Identifier: Apache-2.0
#include "tools/text/DateParser.h"

#include <array>
#include <cstdio>
#include <ctime>
#include <memory>

#include <fmt/format.h>

#include "tests/foundation/ScopedEnvironment.h"
#include "tests/support/SkipOrFail.h"
#include "tools/text/TimeSpan.h"

namespace velto {
namespace {

using alerts::Date;

/// 2026-11-21 12:34:56 UTC, a Saturday.
constexpr double kNow = 1795264496;

/// Seconds since 1970 of a text, in a time zone.
std::optional<double> seconds(const std::string& text, const char* zone = "UTC") {
  ScopedEnvironment environment;
  environment.set("TZ", zone);
  tzset();
  const auto date = parseDate(text, Date::fromUnixSeconds(kNow));
  return date ? std::optional(date->unixSeconds()) : std::nullopt;
}

TEST(DateParser, knowsDaysByName) {
  EXPECT_EQ(seconds("now"), kNow);
  EXPECT_EQ(seconds("today"), 1795219200);
  EXPECT_EQ(seconds("yesterday"), 1795219200 - 86400);
  EXPECT_EQ(seconds("tomorrow"), 1795219200 + 86400);
  EXPECT_EQ(seconds("today", "Asia/Tokyo"), 1795219200 - 9 * 3600);
}

TEST(DateParser, countsFromNow) {
  EXPECT_EQ(seconds("-2h"), kNow - 7200);
  EXPECT_EQ(seconds("2h ago"), kNow - 7200);
  EXPECT_EQ(seconds("+1d 30min"), kNow + 86400 + 1800);
  EXPECT_EQ(seconds("-0"), kNow);
}

TEST(DateParser, readsDaysAndTimes) {
  constexpr double kTwo = 1795183200;  // 2026-11-20 14:00 UTC
  EXPECT_EQ(seconds("2026-11-20"), kTwo - 14 * 3600);
  EXPECT_EQ(seconds("2026-11-20 14:00"), kTwo);
  EXPECT_EQ(seconds("2026-11-20 14:00:30.25"), kTwo + 30.25);
  EXPECT_EQ(seconds("2026-11-20T14:00:00Z", "Asia/Tokyo"), kTwo);
  EXPECT_EQ(seconds("2026-11-20t14:00:00z", "Asia/Tokyo"), kTwo);
  EXPECT_EQ(seconds("2026-11-20 14:00 UTC", "Asia/Tokyo"), kTwo);
  EXPECT_EQ(seconds("2026-11-20 UTC", "Asia/Tokyo"), kTwo - 14 * 3600);
  EXPECT_EQ(seconds("2026-11-20T14:00:00+02:00"), kTwo - 7200);
  EXPECT_EQ(seconds("2026-11-20T14:00:00-0330"), kTwo + 12600);
  EXPECT_EQ(seconds("2026-11-20 14:00", "Europe/Berlin"), kTwo - 3600);
  EXPECT_EQ(seconds("Fri 2026-11-20 14:00"), kTwo);
  EXPECT_EQ(seconds("14:00"), kTwo + 86400);
  EXPECT_EQ(seconds("@1795183200.5"), kTwo + 0.5);
}

TEST(DateParser, refusesWhatNoCalendarHas) {
  for (const auto* text : {"",
                           "x",
                           "2026-02-30",
                           "2026-13-01",
                           "2026-00-10",
                           "2026-1-",
                           "2026-11-20 24:00",
                           "2026-11-20 12:60",
                           "2026-11-20T",
                           "2026-11-20T14:00:00+25:00",
                           "2026-11-20 14:00 CET!",
                           "Mon 2026-11-20",
                           "2026-11-20 14:00 x",
                           "26:00",
                           "12:3",
                           "@",
                           "@x",
                           "@1e400",
                           "-",
                           "-x",
                           "2h",
                           "ago",
                           "1 parsec ago",
                           "yesterday!",
                           "Fri",
                           "2026-11-20 14:00:61",
                           "1e9d ago",
                           "2026-11-20\n",
                           "-1e10y",
                           "- 2h ago"}) {
    EXPECT_EQ(seconds(text), std::nullopt) << text;
  }
}

TEST(DateParser, readsTheTimeThatClocksAreChangedInSomeWay) {
  EXPECT_NE(seconds("2026-03-29 02:30", "Europe/Berlin"), std::nullopt);
  EXPECT_NE(seconds("2026-10-25 02:30", "Europe/Berlin"), std::nullopt);
}

/// What the program that journalctl shares its dates with makes of one.
std::optional<double> peersSeconds(const std::string& text) {
  const std::string command =
      fmt::format("TZ=UTC systemd-analyze timestamp -- '{}' 2>/dev/null", text);
  const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
  std::array<char, 256> line{};
  double found = 0;
  while (fgets(line.data(), line.size(), pipe.get()) != nullptr) {
    if (std::sscanf(line.data(), " UNIX seconds: @%lf", &found) == 1) return found;
  }
  return std::nullopt;
}

TEST(DateParser, agreesWithSystemd) {
  if (!peersSeconds("@0")) return skipOrFail("there is no systemd-analyze");
  for (const auto* text :
       {"2026-11-20", "2026-11-20 14:00", "2026-11-20 14:00:30", "Fri 2026-11-20 14:00:00",
        "Thu 2026-11-20", "2028-02-29", "1970-01-02", "@1795183200", "2026-11-20 14:00:30.5",
        "2026-11-20 25:00", "2026-11-20 14:00 UTC", "nonsense"}) {
    EXPECT_EQ(seconds(text), peersSeconds(text)) << text;
  }
}

TEST(TimeSpan, readsSpans) {
  EXPECT_EQ(parseTimeSpan("90d"), 90 * 86400);
  EXPECT_EQ(parseTimeSpan("2h 30min"), 9000);
  EXPECT_EQ(parseTimeSpan("2h30min"), 9000);
  EXPECT_EQ(parseTimeSpan("1.5 weeks"), 907200);
  EXPECT_EQ(parseTimeSpan("90"), 90);
  EXPECT_EQ(parseTimeSpan("1y"), 31557600);
  EXPECT_EQ(parseTimeSpan("1 month"), 2629800);
  EXPECT_EQ(parseTimeSpan("250ms"), 0.25);
}

TEST(TimeSpan, refusesOtherTexts) {
  for (const auto* text : {"", " ", "d", "-1d", "1 parsec", "1d x", "1e3d", "inf", "nan", "0x10"}) {
    EXPECT_EQ(parseTimeSpan(text), std::nullopt) << text;
  }
}

}  // namespace
}  // namespace velto
