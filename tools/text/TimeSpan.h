// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string_view>

namespace velto {

/// The seconds of a span of time as people write it: "90d", "2h 30min", "1.5 weeks", "90" for
/// seconds. The units are those of systemd.time(7); a month is 30.44 days, a year 365.25. Nothing
/// for any other text. Any thread.
std::optional<double> parseTimeSpan(std::string_view text);

}  // namespace velto
