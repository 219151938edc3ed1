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

/// Steps without an alert are leapt over.
void countBundle(const DatedGroups& alerts, const AttributeValue& bundle, const HistorySteps& steps,
                 std::vector<AlertHistoryEntry>& entries, ErrorSlot error) {
  const auto* name = std::get_if<std::string>(&bundle);
  std::size_t step = 0;
  while (step < steps.count()) {
    const auto count = alerts.count(bundle, isWithin(steps, step, step), error);
    if (!count) {
      return;
    }
    if (*count > 0) {
      entries.push_back(
          {steps.start(step), name == nullptr ? std::nullopt : std::optional(*name), *count});
      ++step;
    } else {
      const auto date = alerts.earliest(bundle, isWithin(steps, step, steps.count() - 1), error);
      step = date ? steps.indexOf(*date) : steps.count();
    }
  }
}

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
    countBundle(alerts, *bundle, steps, entries, &failure);
    bundle = alerts.next(bundle, &failure);
  }
  if (failure) {
    replaceError(error, *std::move(failure));
    return std::nullopt;
  }
  return entries;
}

}  // namespace velto
