// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/foundation/Date.h"

namespace velto {

/// The only place that tells the current time. Implementations may be used from any thread.
class Clock {
 public:
  virtual ~Clock() = default;
  virtual Date now() const = 0;

  /// The machine's real-time clock.
  static const Clock& system();
};

/// Whether `now` is less than so many seconds after `start`. A clock that has been set back since
/// then says no.
bool isWithin(Date start, Date now, double seconds);

}  // namespace velto
