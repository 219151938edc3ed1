// SPDX-License-Identifier: Apache-2.0
#include "store/AlertPages.h"

#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>
#include <variant>
#include <vector>

#include "platform/foundation/Hexadecimal.h"
#include "platform/persistence/EntityObjects.h"
#include "platform/persistence/search/PageSearch.h"
#include "store/ADAlert.h"
#include "store/ADAlertAdditions.h"
#include "store/AlertSearch.h"

namespace velto {
namespace {

constexpr std::size_t kDigits = 16;
/// A page ends behind the alert that makes it so many bytes of texts and attributes.
constexpr std::size_t kMuch = std::size_t{1024} * 1024;
/// Stands for no date.
constexpr double kNoDate = std::numeric_limits<double>::quiet_NaN();

void appendDigits(std::string& text, std::uint64_t number) {
  for (int shift = 56; shift >= 0; shift -= 8) {
    appendHexadecimal(text, static_cast<std::uint8_t>(number >> static_cast<unsigned>(shift)));
  }
}

std::optional<std::uint64_t> number(std::string_view digits) {
  std::uint64_t value = 0;
  const char* const end = digits.data() + digits.size();
  const auto [stop, failure] = std::from_chars(digits.data(), end, value, 16);
  return failure == std::errc() && stop == end ? std::optional(value) : std::nullopt;
}

/// The bytes of its texts and attributes.
std::size_t sizeOf(const ObjectState& state) {
  std::size_t size = 0;
  for (const AttributeValue& value : state.values) {
    if (const auto* text = std::get_if<std::string>(&value)) {
      size += text->size();
    } else if (const auto* data = std::get_if<Data>(&value)) {
      size += data->size();
    }
  }
  return size;
}

/// Reads the alerts at these places until there are many bytes of them. Returns how many places it
/// has gone through; nothing with the error.
std::optional<std::size_t> readAlerts(
    const std::shared_ptr<PersistentStoreCoordinator>& coordinator,
    const std::vector<RowPlace>& places, std::vector<VLAlert>& alerts, ErrorSlot error) {
  std::vector<std::int64_t> rowIds;
  rowIds.reserve(places.size());
  for (const RowPlace& place : places) {
    rowIds.push_back(place.rowId);
  }
  EntityObjects objects(coordinator->model().entity(ADAlert::kEntityName));
  ObjectState state{objects, ObjectState::Condition::kUnchanged, 0, 0, 0, {}};
  std::size_t size = 0;
  return coordinator->fetchRows(
      *objects.entity(), rowIds,
      [&](const Statement& row) {
        objects.refresh(state, row);
        alerts.push_back(initWithADAlert(ADAlert(state)));
        size += sizeOf(state);
        return size < kMuch;
      },
      error);
}

}  // namespace

std::string positionText(const RowPlace& place) {
  const double date = place.date ? place.date->secondsSinceReference() : kNoDate;
  std::string text;
  appendDigits(text, std::bit_cast<std::uint64_t>(date));
  appendDigits(text, static_cast<std::uint64_t>(place.rowId));
  return text;
}

std::optional<RowPlace> placeFromPosition(std::string_view text) {
  if (text.size() != 2 * kDigits) {
    return std::nullopt;
  }
  const auto bits = number(text.substr(0, kDigits));
  const auto rowId = number(text.substr(kDigits));
  if (!bits || !rowId) {
    return std::nullopt;
  }
  const auto date = std::bit_cast<double>(*bits);
  const RowPlace place{std::isnan(date) ? std::nullopt : std::optional(Date(date)),
                       static_cast<std::int64_t>(*rowId)};
  // One place has one text.
  return place.rowId > 0 && positionText(place) == text ? std::optional(place) : std::nullopt;
}

std::optional<AlertPage> listAlerts(const std::shared_ptr<PersistentStoreCoordinator>& coordinator,
                                    const AlertFilter& filter, const std::optional<RowPlace>& after,
                                    std::size_t limit, ErrorSlot error) {
  // One more tells whether there is another page.
  auto places = findPage(*coordinator, searchFor(filter), after, limit + 1, error);
  if (!places) {
    return std::nullopt;
  }
  const bool isMore = places->size() > limit;
  if (isMore) {
    places->pop_back();
  }
  AlertPage page;
  const auto last = readAlerts(coordinator, *places, page.alerts, error);
  if (!last) {
    return std::nullopt;
  }
  if (isMore || *last < places->size()) {
    page.next = positionText((*places)[*last - 1]);
  }
  return page;
}

}  // namespace velto
