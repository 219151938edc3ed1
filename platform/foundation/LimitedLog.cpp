// SPDX-License-Identifier: Apache-2.0
#include "platform/foundation/LimitedLog.h"

#include <utility>

namespace velto {
namespace {

/// So many lines are remembered: what they hold may come from anybody.
constexpr std::size_t kMaximumLines = 1000;

}  // namespace

void LimitedLog::warning(std::string_view line) {
  std::size_t timesUnsaid = 0;
  {
    const MutexLock lock(mutex_);
    const Date now = clock_.now();
    const auto found = lines_.find(line);
    if (found != lines_.end() && isWithin(found->second.when, now, kIntervalInSeconds)) {
      ++found->second.timesUnsaid;
      return;
    }
    if (found != lines_.end()) {
      timesUnsaid = std::exchange(found->second, {now}).timesUnsaid;
    } else {
      if (lines_.size() >= kMaximumLines) {
        lines_.clear();
      }
      lines_.emplace(line, Said{now});
    }
  }
  log_.warning(timesUnsaid == 0 ? std::string(line)
                                : std::string(line) + " (and " + std::to_string(timesUnsaid) +
                                      " times more since it was last said)");
}

}  // namespace velto
