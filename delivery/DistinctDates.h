// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "platform/foundation/Date.h"
#include "platform/foundation/Mutex.h"

namespace velto {

/// Milliseconds since the reference date, truncated toward zero; a date beyond the range is the
/// range's end, and what is not a number 0.
std::int64_t wholeMilliseconds(Date date);

/// Dates with a millisecond of their own, since a push service tells alerts apart by it. Any
/// thread.
class DistinctDates {
 public:
  /// Returns `now`, or as soon after it as nobody has had the millisecond. Not more than a second
  /// later: of more than a thousand alerts a second, or when the clock was set back, some share
  /// one.
  Date next(Date now) VELTO_EXCLUDES(mutex_);

 private:
  Mutex mutex_;
  bool isUsed_ VELTO_GUARDED_BY(mutex_) = false;
  std::int64_t last_ VELTO_GUARDED_BY(mutex_) = 0;
};

}  // namespace velto
