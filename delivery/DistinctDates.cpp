// SPDX-License-Identifier: Apache-2.0
#include "delivery/DistinctDates.h"

#include <cmath>
#include <limits>
#include <utility>

namespace velto {

std::int64_t wholeMilliseconds(Date date) {
  constexpr double kEnd = 9223372036854775808.0;
  const double milliseconds = date.secondsSinceReference() * 1000.0;
  if (std::isnan(milliseconds)) {
    return 0;
  }
  if (milliseconds >= kEnd || milliseconds < -kEnd) {
    return milliseconds > 0 ? std::numeric_limits<std::int64_t>::max()
                            : std::numeric_limits<std::int64_t>::min();
  }
  return static_cast<std::int64_t>(milliseconds);
}

Date DistinctDates::next(Date now) {
  constexpr std::int64_t kLongest = 1000;
  const std::int64_t present = wholeMilliseconds(now);
  const MutexLock lock(mutex_);
  const bool wasUsed = std::exchange(isUsed_, true);
  if (!wasUsed || present > last_ || present <= last_ - kLongest) {
    last_ = present;
    return now;
  }
  ++last_;
  // Its middle, so that no rounding leads to another one.
  return Date((static_cast<double>(last_) + 0.5) / 1000.0);
}

}  // namespace velto
