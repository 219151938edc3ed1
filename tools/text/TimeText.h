// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>

#include <velto/Value.h>

namespace velto {

// Points in time as texts. Any thread, while nobody changes the environment.

/// In UTC, with microseconds: "2026-11-20T14:00:00.250000Z". Nothing for a date whose year has not
/// four digits.
std::optional<std::string> rfc3339(alerts::Date date);

/// For people, in local time or UTC: "2026-11-20 14:00:00 CET".
std::string clockText(alerts::Date date, bool isUTC);

/// How long ago, or in how long, in one unit: "5 min ago", "2 days ago", "in 3 h".
std::string relativeText(alerts::Date date, alerts::Date now);

/// A span in one unit: "5 min", "2 days".
std::string spanText(double seconds);

}  // namespace velto
