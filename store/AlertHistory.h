// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "alerts/AlertListing.h"
#include "platform/foundation/Date.h"
#include "platform/foundation/Error.h"
#include "platform/persistence/PersistentStoreCoordinator.h"

namespace velto {

/// A period in equal steps: the first one begins just after the start of the period, and the last
/// one ends with its end, which belongs to it; the others have their start and not their end. A
/// value.
class HistorySteps {
 public:
  static constexpr std::size_t kMost = 1000;

  /// Nothing for a step that is not above 0, or when there were more than kMost. A period that ends
  /// before it begins has none.
  static std::optional<HistorySteps> make(Date from, Date to, double step);

  std::size_t count() const { return count_; }
  Date start(std::size_t index) const;
  Date end() const { return to_; }
  /// The step that a date within the period belongs to.
  std::size_t indexOf(Date date) const;

 private:
  HistorySteps(Date from, Date to, double step, std::size_t count)
      : from_(from), to_(to), step_(step), count_(count) {}

  Date from_;
  Date to_;
  double step_;
  std::size_t count_;
};

/// How many alerts were sent in each step, by bundle, those without one first, and then by step;
/// steps without any are left out. An index of the bundles and dates is entered for each number, so
/// the cost is that of the entries, and of counting what they count. Each number is as of one
/// moment. Nothing with the error. Any thread.
std::optional<std::vector<AlertHistoryEntry>> alertHistory(PersistentStoreCoordinator& coordinator,
                                                           const HistorySteps& steps,
                                                           ErrorSlot error);

}  // namespace velto
