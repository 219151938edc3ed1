// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <functional>
#include <utility>
#include <vector>

#include "alerts/VLAlert.h"
#include "platform/foundation/Error.h"

namespace velto {

/// A list of alerts that is gone through once, and need not be in memory as a whole. One thread at
/// a time.
class AlertSequence {
 public:
  /// Returns the next few alerts; none at the end, and none with an error when they cannot be had.
  using Source = std::function<std::vector<VLAlert>(ErrorSlot)>;

  AlertSequence() = default;
  // A list is a sequence.
  // NOLINTNEXTLINE(google-explicit-constructor)
  AlertSequence(std::vector<VLAlert> alerts) : ready_(std::move(alerts)) {}
  explicit AlertSequence(Source source) : source_(std::move(source)) {}

  /// The alert whose turn it is, valid until `advance`; null at the end. An error ends what comes
  /// from the source.
  const VLAlert* current(ErrorSlot error);
  void advance() { ++next_; }

  /// These come after all others.
  void append(std::vector<VLAlert> alerts) { appended_ = std::move(alerts); }

 private:
  std::vector<VLAlert> ready_;
  std::size_t next_ = 0;
  Source source_;  ///< null when it has nothing more
  std::vector<VLAlert> appended_;
};

}  // namespace velto
