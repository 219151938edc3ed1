// SPDX-License-Identifier: Apache-2.0
#include "platform/foundation/LimitedLog.h"

#include <utility>

namespace velto {
namespace {

/// So many are remembered: what they hold may come from anybody.
constexpr std::size_t kMaximumKinds = 1000;

}  // namespace

void LimitedLog::warningOf(std::string_view kind, std::string_view line) {
  std::size_t timesUnsaid = 0;
  {
    const MutexLock lock(mutex_);
    const Date now = clock_.now();
    const auto found = kinds_.find(kind);
    if (found != kinds_.end() && isWithin(found->second.when, now, interval_)) {
      ++found->second.timesUnsaid;
      return;
    }
    if (found != kinds_.end()) {
      timesUnsaid = std::exchange(found->second, {now}).timesUnsaid;
    } else {
      if (kinds_.size() >= kMaximumKinds) {
        kinds_.clear();
      }
      kinds_.emplace(kind, Said{now});
    }
  }
  log_.warning(timesUnsaid == 0 ? std::string(line)
                                : std::string(line) + " (and " + std::to_string(timesUnsaid) +
                                      " times more since it was last said)");
}

}  // namespace velto
