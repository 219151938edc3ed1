// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/foundation/Log.h"
#include "platform/foundation/Mutex.h"

namespace velto {

/// Keeps the lines it is given.
class FakeLog : public Log {
 public:
  void warning(std::string_view line) override {
    MutexLock lock(mutex_);
    lines_.emplace_back(line);
  }
  std::vector<std::string> lines() const {
    MutexLock lock(mutex_);
    return lines_;
  }

 private:
  mutable Mutex mutex_;
  std::vector<std::string> lines_ VELTO_GUARDED_BY(mutex_);
};

}  // namespace velto
