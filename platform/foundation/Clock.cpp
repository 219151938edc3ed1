// SPDX-License-Identifier: Apache-2.0
#include "platform/foundation/Clock.h"

#include <ctime>

namespace velto {
namespace {

class SystemClock : public Clock {
 public:
  Date now() const override {
    timespec time{};
    clock_gettime(CLOCK_REALTIME, &time);
    return Date::fromUnixSeconds(static_cast<double>(time.tv_sec) +
                                 static_cast<double>(time.tv_nsec) / 1e9);
  }
};

}  // namespace

const Clock& Clock::system() {
  static const SystemClock clock;
  return clock;
}

bool isWithin(Date start, Date now, double seconds) {
  const double passed = now.secondsSinceReference() - start.secondsSinceReference();
  return passed >= 0 && passed < seconds;
}

}  // namespace velto
