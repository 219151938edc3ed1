// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "alerts/VLAlert.h"
#include "platform/foundation/Date.h"

namespace velto {

// What tools ask of the stored alerts, and get. Values.

/// Which alerts are meant: those for which all that is given holds.
struct AlertFilter {
  std::optional<std::string> bundle = {};
  std::optional<std::string> type = {};
  std::optional<Date> from = {};        ///< sent after it
  std::optional<Date> to = {};          ///< sent then, or before
  std::optional<bool> unread = {};      ///< false: those that have been read
  std::optional<bool> unresolved = {};  ///< false: those that have been resolved
  /// Stands in type, bundle, identifier or a text of the attributes, without regard to case.
  std::optional<std::string> text = {};
};

/// A part of a list, newest sent first, those without a sent date last.
struct AlertPage {
  std::vector<VLAlert> alerts = {};
  std::optional<std::string> next = {};  ///< the position to go on at, when there are more
};

/// How many alerts of a bundle were sent within one step of time.
struct AlertHistoryEntry {
  Date start = {};
  std::optional<std::string> bundle = {};
  std::int64_t count = 0;

  bool operator==(const AlertHistoryEntry&) const = default;
};

}  // namespace velto
