// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string_view>

#include <velto/Value.h>

namespace velto {

/// A point in time as people write it, seen from `now`:
///
/// - `now`, `today`, `yesterday`, `tomorrow` (the last three: midnight)
/// - `-2h`, `2h ago`, `+30min` (parseTimeSpan)
/// - `2026-11-20`, `2026-11-20 14:00`, `2026-11-20 14:00:30.5`, with `T` for the blank, and with
///   `Z`, `UTC` or `+02:00` behind the time for other than local time; a weekday may stand before
/// - `14:00` today
/// - `@1763640000`, seconds since 1970
///
/// Nothing for any other text, and for dates that no calendar has. Local time is that of TZ. Any
/// thread, while nobody changes the environment.
std::optional<alerts::Date> parseDate(std::string_view text, alerts::Date now);

}  // namespace velto
