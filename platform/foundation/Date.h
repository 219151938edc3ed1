// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <compare>

namespace velto {

/// A point in time: seconds since the reference date 2001-01-01 00:00:00 UTC, as a double.
/// Fractions count. A value; any thread may use its own copy.
class Date {
 public:
  /// Seconds between the Unix epoch and the reference date.
  static constexpr double kReferenceSinceUnixEpoch = 978307200.0;

  constexpr Date() = default;
  constexpr explicit Date(double secondsSinceReference) : seconds_(secondsSinceReference) {}
  static constexpr Date fromUnixSeconds(double seconds) {
    return Date(seconds - kReferenceSinceUnixEpoch);
  }

  constexpr double secondsSinceReference() const { return seconds_; }
  constexpr double unixSeconds() const { return seconds_ + kReferenceSinceUnixEpoch; }

  constexpr auto operator<=>(const Date&) const = default;

 private:
  double seconds_ = 0;
};

}  // namespace velto
