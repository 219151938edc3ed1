// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include <velto/Monitor.h>

#include "tools/frame/Session.h"
#include "tools/frame/Verb.h"

namespace velto {

/// Which alerts a list is to have, as its user has written it.
struct ListOptions {
  std::optional<std::string> bundle = {};
  std::optional<std::string> type = {};
  std::optional<std::string> since = {};
  std::optional<std::string> until = {};
  std::optional<std::string> text = {};
  bool isUnread = false;
  bool isUnresolved = false;
  std::optional<std::int64_t> count = {};
  bool isReversed = false;
  bool isFollowing = false;

  /// The filters as the daemon takes them; throws a Failure for a date that is none.
  alerts::ListQuery query(Session& session) const;
  /// Warns of a bundle or kind that there is not, which would else look like one without alerts.
  void warnOfUnknown(Session& session) const;
  /// What is wrong with it is thrown as a Failure.
  void check() const;
};

/// Adds the filters to a verb. `options` outlives it.
void addFilters(Verb verb, ListOptions& options);
/// Adds what only a list can have: `-n`, `--reverse` and `--text`.
void addLimits(Verb verb, ListOptions& options);

/// A date that an option was given; throws a Failure that names it when it is none.
alerts::Date requiredDate(const std::string& option, const std::string& text, alerts::Date now);

}  // namespace velto
