// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>

#include "platform/foundation/Clock.h"

namespace velto {

/// A clock that stands still until a test moves it.
class FakeClock : public Clock {
 public:
  explicit FakeClock(double secondsSinceReference = 0) : seconds_(secondsSinceReference) {}
  Date now() const override { return Date(seconds_.load()); }
  void set(double secondsSinceReference) { seconds_ = secondsSinceReference; }

 private:
  std::atomic<double> seconds_;
};

}  // namespace velto
