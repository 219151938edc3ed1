// SPDX-License-Identifier: Apache-2.0
#include "store/AlertHistory.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>
#include <variant>

#include "platform/persistence/search/DatedGroups.h"
#include "store/ADAlert.h"

namespace velto {

namespace {

/// So much of a step is no step of its own: whoever adds up steps to find the end is as inexact.
constexpr double kRounding = 1e-6;

/// Sent within these steps, the last of which is the one at `last`.
Predicate isWithin(const HistorySteps& steps, std::size_t first, std::size_t last) {
  const bool isEnd = last + 1 == steps.count();
  return Predicate::both(
      Predicate::withFormat(first == 0 ? "sentDate > %@" : "sentDate >= %@", {steps.start(first)}),
      Predicate::withFormat(isEnd ? "sentDate <= %@" : "sentDate < %@",
                            {isEnd ? steps.end() : steps.start(last + 1)}));
}

/// The counting of one bundle's alerts. SQLite counts a step faster than its dates can be gone
/// through here, but to ask it costs as much as some hundred of them; so steps with many are
/// counted there, and those with few here, where empty ones cost nothing.
class BundleCount {
 public:
  BundleCount(const DatedGroups& alerts, AttributeValue bundle, const HistorySteps& steps)
      : alerts_(alerts), bundle_(std::move(bundle)), steps_(steps) {
    const auto* name = std::get_if<std::string>(&bundle_);
    name_ = name == nullptr ? std::nullopt : std::optional(*name);
  }

  /// Adds an entry for each step that has any; leaves off with the error.
  void addTo(std::vector<AlertHistoryEntry>& entries, ErrorSlot error) {
    bool isRead = true;
    while (isRead && step_ < steps_.count()) {
      isRead = isDense_ ? askForCount(entries, error) : goThroughDates(entries, error);
    }
  }

 private:
  static constexpr std::int64_t kFew = 100;
  static constexpr std::int64_t kMany = 200;

  bool askForCount(std::vector<AlertHistoryEntry>& entries, ErrorSlot error) {
    const auto count = alerts_.count(bundle_, isWithin(steps_, step_, step_), error);
    if (count && *count > 0) {
      entries.push_back({steps_.start(step_), name_, *count});
    }
    isDense_ = count && *count > kFew;
    ++step_;
    return count.has_value();
  }

  /// Until a step has many, which is counted again.
  bool goThroughDates(std::vector<AlertHistoryEntry>& entries, ErrorSlot error) {
    const std::size_t first = entries.size();
    const auto take = [&](Date date) {
      const std::size_t step = steps_.indexOf(date);
      if (entries.size() == first || step != step_) {
        entries.push_back({steps_.start(step), name_, 0});
        step_ = step;
      }
      isDense_ = ++entries.back().count == kMany;
      return !isDense_;
    };
    const bool isRead =
        alerts_.dates(bundle_, isWithin(steps_, step_, steps_.count() - 1), take, error);
    if (isDense_) {
      entries.pop_back();
    } else {
      step_ = steps_.count();
    }
    return isRead;
  }

  const DatedGroups& alerts_;
  const AttributeValue bundle_;
  const HistorySteps& steps_;
  std::optional<std::string> name_;
  std::size_t step_ = 0;  ///< the first one that is not counted
  bool isDense_ = false;  ///< it is likely to have many
};

}  // namespace

std::optional<HistorySteps> HistorySteps::make(Date from, Date to, double step) {
  const double length = to.secondsSinceReference() - from.secondsSinceReference();
  const double count = length > 0 ? std::max(1.0, std::ceil(length / step - kRounding)) : 0;
  // Neither holds for what is not a number.
  if (!(step > 0) || !(count <= kMost)) {
    return std::nullopt;
  }
  return HistorySteps(from, to, step, static_cast<std::size_t>(count));
}

Date HistorySteps::start(std::size_t index) const {
  return Date(from_.secondsSinceReference() + static_cast<double>(index) * step_);
}

/// A quotient is rounded, so it may be one off.
std::size_t HistorySteps::indexOf(Date date) const {
  const double length = date.secondsSinceReference() - from_.secondsSinceReference();
  const double last = static_cast<double>(count_ - 1);
  auto index = static_cast<std::size_t>(std::clamp(std::floor(length / step_), 0.0, last));
  while (index > 0 && start(index) > date) {
    --index;
  }
  while (index + 1 < count_ && start(index + 1) <= date) {
    ++index;
  }
  return index;
}

std::optional<std::vector<AlertHistoryEntry>> alertHistory(PersistentStoreCoordinator& coordinator,
                                                           const HistorySteps& steps,
                                                           ErrorSlot error) {
  const DatedGroups alerts(coordinator, std::string(ADAlert::kEntityName), "bundle", "sentDate");
  std::vector<AlertHistoryEntry> entries;
  std::optional<Error> failure;
  auto bundle = alerts.next(std::nullopt, &failure);
  while (bundle && !failure) {
    BundleCount(alerts, *bundle, steps).addTo(entries, &failure);
    bundle = alerts.next(bundle, &failure);
  }
  if (failure) {
    replaceError(error, *std::move(failure));
    return std::nullopt;
  }
  return entries;
}

}  // namespace velto
