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

/// Writes to a log what many calls may say alike: each line, or kind of line, at most once in a
/// time. When it is written again, it tells how often it was not. Any thread.
class LimitedLog : public Log {
 public:
  static constexpr double kMinute = 60;
  static constexpr double kDay = 24 * 60 * kMinute;

  /// What is referred to outlives it.
  LimitedLog(Log& log, const Clock& clock, double intervalInSeconds = kMinute)
      : log_(log), clock_(clock), interval_(intervalInSeconds) {}

  void warning(std::string_view line) override { warningOf(line, line); }
  /// For lines that differ in what anybody may make up: one of a kind at most, the first.
  void warningOf(std::string_view kind, std::string_view line);

 private:
  struct Said {
    Date when;
    std::size_t timesUnsaid = 0;
  };

  Log& log_;
  const Clock& clock_;
  const double interval_;
  Mutex mutex_;
  std::map<std::string, Said, std::less<>> kinds_ VELTO_GUARDED_BY(mutex_);
};

}  // namespace velto
