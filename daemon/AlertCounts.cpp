// SPDX-License-Identifier: Apache-2.0
// Counting takes a while, and commits go on meanwhile. What is counted is how the store was between
// two commits, and from that moment on the commits are noted: so each counts once.

#include "daemon/AlertCounts.h"

#include <array>
#include <string>

#include "platform/persistence/FetchRequest.h"
#include "store/ADAlert.h"
#include "store/AlertChange.h"

namespace velto {
namespace {

/// Alerts, or those for which the predicate holds. Only present values have an index.
FetchRequest alerts(std::string_view predicate = {}) {
  FetchRequest request{std::string(ADAlert::kEntityName)};
  request.setOrder(FetchRequest::Order::kAny);
  if (!predicate.empty()) request.setPredicate(Predicate::withFormat(predicate));
  return request;
}

}  // namespace

std::optional<MonitorCounts> AlertCounts::get(PersistentStoreCoordinator& coordinator,
                                              ErrorSlot error) {
  if (auto counts = known()) return counts;
  const MutexLock counting(counting_);
  if (auto counts = known()) return counts;
  areWanted_ = true;
  const std::array requests{alerts(), alerts("readDate != nil"), alerts("resolvedDate != nil")};
  const auto forget = [this] {
    const MutexLock lock(mutex_);
    counts_ = {};
  };
  const auto found = coordinator.counts(requests, forget, error);
  if (!found) {
    areWanted_ = false;
    return std::nullopt;
  }
  const MutexLock lock(mutex_);
  counts_.alerts += found->at(0);
  counts_.unread += found->at(0) - found->at(1);
  counts_.unresolved += found->at(0) - found->at(2);
  areKnown_ = true;
  return counts_;
}

std::optional<MonitorCounts> AlertCounts::known() const {
  const MutexLock lock(mutex_);
  return areKnown_ ? std::optional(counts_) : std::nullopt;
}

void AlertCounts::add(std::span<const ChangedRow> rows) noexcept {
  const MutexLock lock(mutex_);
  for (const ChangedRow& row : rows) {
    if (!AlertChange::isOfAlert(row)) continue;
    const AlertChange change(row);
    counts_.alerts += change.alerts();
    counts_.unread += change.unread();
    counts_.unresolved += change.unresolved();
  }
}

}  // namespace velto
