// SPDX-License-Identifier: Apache-2.0
// `stats`: alerts a day, and how old the open ones are.

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <ctime>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <boost/json/array.hpp>

#include "tools/Verbs.h"
#include "tools/alerts/AlertPages.h"
#include "tools/frame/Failure.h"
#include "tools/frame/Session.h"
#include "tools/text/Bar.h"
#include "tools/text/Message.h"
#include "tools/text/Printable.h"
#include "tools/text/Width.h"

namespace velto {
namespace {

constexpr int kDays = 30;
constexpr double kDay = 86400;
constexpr double kHour = 3600;
constexpr std::size_t kUsualWidth = 80;

struct Day {
  std::string name = {};                            ///< 2026-11-20
  std::map<std::string, std::int64_t> counts = {};  ///< by bundle

  std::int64_t sum() const {
    std::int64_t sum = 0;
    for (const auto& [bundle, count] : counts) {
      sum += count;
    }
    return sum;
  }
};

/// Open alerts by how long ago they were sent.
struct Ages {
  std::array<std::int64_t, 3> counts{};  ///< of the last day, week, 30 days
  std::int64_t older = 0;
};

constexpr std::array<double, 3> kAges = {kDay, 7 * kDay, kDays* kDay};

/// The beginning of a day of the reader's, so many days before today.
std::tm dayBefore(alerts::Date now, int days, bool isUTC) {
  const auto seconds = static_cast<std::time_t>(std::floor(now.unixSeconds()));
  std::tm day{};
  isUTC ? gmtime_r(&seconds, &day) : localtime_r(&seconds, &day);
  day.tm_hour = day.tm_min = day.tm_sec = 0;
  day.tm_mday -= days;
  day.tm_isdst = -1;
  return day;
}

double secondsOf(std::tm day, bool isUTC) {
  return static_cast<double>(isUTC ? timegm(&day) : std::mktime(&day));
}

std::string nameOf(alerts::Date date, bool isUTC) {
  const auto seconds = static_cast<std::time_t>(std::floor(date.unixSeconds()));
  std::tm day{};
  isUTC ? gmtime_r(&seconds, &day) : localtime_r(&seconds, &day);
  std::array<char, 32> text{};
  return {text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%d", &day)};
}

/// Asked for by the hour, since days are not all of one length where clocks are changed.
std::vector<Day> lastDays(Session& session) {
  const bool isUTC = session.ways().isUTC;
  std::vector<Day> days;
  for (int before = kDays - 1; before >= 0; --before) {
    const double start = secondsOf(dayBefore(session.now(), before, isUTC), isUTC);
    days.push_back({.name = nameOf(alerts::Date::fromUnixSeconds(start), isUTC)});
  }
  const double first = secondsOf(dayBefore(session.now(), kDays - 1, isUTC), isUTC);
  const auto from = alerts::Date::fromUnixSeconds(first);
  for (const alerts::HistoryEntry& entry :
       required(session.client().getHistory(from, session.now(), kHour))) {
    const std::string name = nameOf(entry.start, isUTC);
    const auto day = std::find_if(days.begin(), days.end(),
                                  [&name](const Day& one) { return one.name == name; });
    if (day != days.end()) day->counts[entry.bundle.value_or("-")] += entry.count;
  }
  return days;
}

/// Newest first, so what is left when a month has been read is older.
Ages agesOfOpen(Session& session, std::int64_t unresolved) {
  Ages ages;
  std::int64_t counted = 0;
  const double start = session.now().secondsSince2001() - kAges.back();
  AlertPages pages(session.client(), {.from = alerts::Date(start), .unresolved = true}, {});
  for (auto page = pages.next(); !page.empty(); page = pages.next()) {
    for (const alerts::ListItem& item : page) {
      const double age = session.now().secondsSince2001() -
                         item.alert.sentDate.value_or(session.now()).secondsSince2001();
      const auto* limit = std::lower_bound(kAges.begin(), kAges.end(), age);
      if (limit == kAges.end()) continue;
      ++ages.counts[static_cast<std::size_t>(limit - kAges.begin())];
      ++counted;
    }
  }
  ages.older = std::max<std::int64_t>(unresolved - counted, 0);
  return ages;
}

void printJSON(Session& session, const std::vector<Day>& days, const Ages& ages) {
  boost::json::array array;
  for (const Day& day : days) {
    boost::json::object bundles;
    for (const auto& [bundle, count] : day.counts) {
      bundles[bundle] = count;
    }
    array.push_back({{"day", day.name}, {"alerts", day.sum()}, {"bundles", std::move(bundles)}});
  }
  session.print({{"days", std::move(array)},
                 {"open",
                  {{"day", ages.counts[0]},
                   {"week", ages.counts[1]},
                   {"month", ages.counts[2]},
                   {"older", ages.older}}}});
}

/// The bundles of a day, most alerts first.
std::string bundlesOf(Session& session, const Day& day) {
  std::vector<std::pair<std::int64_t, std::string>> counts;
  for (const auto& [bundle, count] : day.counts) {
    counts.emplace_back(-count, session.bundleName(bundle));
  }
  std::sort(counts.begin(), counts.end());
  std::string text;
  for (const auto& [count, bundle] : counts) {
    text += fmt::format("{}{} {}", text.empty() ? "" : ", ", bundle, -count);
  }
  return text;
}

void printDays(Session& session, const std::vector<Day>& days) {
  std::int64_t most = 1;
  for (const Day& day : days) {
    most = std::max(most, day.sum());
  }
  const std::size_t width = session.terminal().width.value_or(kUsualWidth);
  const std::size_t digits = std::to_string(most).size();
  constexpr std::size_t kDate = 10;
  const std::size_t room = width - std::min(width, kDate + digits + 4);
  const std::size_t barWidth = std::max<std::size_t>(room / 2, 4);
  for (const Day& day : days) {
    const std::int64_t sum = day.sum();
    const std::string line =
        fmt::format("{}  {}  {}  {}", day.name, paddedBefore(std::to_string(sum), digits),
                    padded(bar(static_cast<double>(sum) / static_cast<double>(most), barWidth,
                               session.terminal().hasUTF8),
                           barWidth),
                    bundlesOf(session, day));
    const std::string cut = fitted(line, width, session.terminal().ellipsis());
    const std::string& shown = session.terminal().width ? cut : line;
    session.write(shown.substr(0, shown.find_last_not_of(' ') + 1) + '\n');
  }
}

void printAges(Session& session, const Ages& ages) {
  session.tell("");
  session.tell(tr("Open alerts by age:"));
  const auto line = [&session](std::int64_t count, const std::string& text) {
    session.write(paddedBefore(std::to_string(count), 8) + "  " + text + '\n');
  };
  line(ages.counts[0], tr("up to a day"));
  line(ages.counts[1], tr("up to a week"));
  line(ages.counts[2], tr("up to 30 days"));
  line(ages.older, tr("older"));
}

ExitStatus stats(Session& session) {
  const std::vector<Day> days = lastDays(session);
  const auto status = required(session.client().getStatus());
  const Ages ages = agesOfOpen(session, status.counts.unresolved);
  if (session.isJSON()) {
    printJSON(session, days, ages);
    return kExitDone;
  }
  session.page();
  if (session.ways().hasLegend) session.tell(say("Alerts a day over {} days:", kDays) + "\n");
  printDays(session, days);
  printAges(session, ages);
  return kExitDone;
}

}  // namespace

void addStatsVerb(VerbSet& verbs) {
  verbs.add(
      {.name = "stats",
       .description = tr("Draw the alerts a day over 30 days, and tell how old the open ones are"),
       .example = "alertsctl stats --json=pretty"},
      stats);
}

}  // namespace velto
