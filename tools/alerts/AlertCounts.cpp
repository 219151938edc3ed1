// SPDX-License-Identifier: Apache-2.0
#include "tools/alerts/AlertCounts.h"

#include "tools/frame/Failure.h"

namespace velto {
namespace {

/// Before it, and after the year 9999, nothing has been sent.
constexpr double kEarliest = -62e9;
constexpr double kLatest = 253e9;

std::map<std::optional<std::string>, std::int64_t> countsUntil(Session& session, double end) {
  std::map<std::optional<std::string>, std::int64_t> counts;
  // One step, so that the daemon counts and nothing has to be carried here.
  for (const alerts::HistoryEntry& entry : required(session.client().getHistory(
           alerts::Date(kEarliest), alerts::Date(end), end - kEarliest))) {
    counts[entry.bundle] += entry.count;
  }
  return counts;
}

}  // namespace

std::map<std::optional<std::string>, std::int64_t> alertCounts(Session& session) {
  return countsUntil(session, kLatest);
}

std::int64_t countOfSentBefore(Session& session, alerts::Date date) {
  std::int64_t sum = 0;
  for (const auto& [bundle, count] : countsUntil(session, date.secondsSince2001())) {
    sum += count;
  }
  return sum;
}

}  // namespace velto
