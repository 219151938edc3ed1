// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>

#include "platform/foundation/Clock.h"
#include "platform/foundation/Log.h"
#include "platform/foundation/Mutex.h"

namespace velto {

/// Writes to a log what many calls may say alike: each line at most once a minute. When it is
/// written again, it tells how often it was not. Any thread.
class LimitedLog : public Log {
 public:
  static constexpr double kIntervalInSeconds = 60;

  /// What is referred to outlives it.
  LimitedLog(Log& log, const Clock& clock) : log_(log), clock_(clock) {}

  void warning(std::string_view line) override;

 private:
  struct Said {
    Date when;
    std::size_t timesUnsaid = 0;
  };

  Log& log_;
  const Clock& clock_;
  Mutex mutex_;
  std::map<std::string, Said, std::less<>> lines_ VELTO_GUARDED_BY(mutex_);
};

}  // namespace velto
