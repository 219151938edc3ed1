// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/foundation/Date.h"
#include "platform/persistence/Predicate.h"

namespace velto {

class Statement;

/// A row's place in the descending order of a date, where the newer one of two rows of the same
/// date comes first, and rows without the date come last. A value.
struct RowPlace {
  std::optional<Date> date;
  std::int64_t rowId = 0;

  bool operator==(const RowPlace&) const = default;
  bool isBefore(const RowPlace& other) const {
    return date != other.date ? date > other.date : rowId > other.rowId;
  }
};

/// Says of a row whether it is wanted. One thread.
using RowTest = std::function<bool(const Statement&)>;

/// Which rows of an entity are looked for, in the descending order of a date. A value.
struct RowSearch {
  /// Where the columns that the test asks for begin in the rows that it gets.
  static constexpr int kFirstColumn = 2;

  std::string entityName;
  std::string key;  ///< the date's attribute
  // With a bound, only rows that have the date.
  std::optional<Date> from = {};  ///< exclusive
  std::optional<Date> to = {};    ///< inclusive
  /// Conditions that hold for all rows wanted, and for each of which an index has the rows in the
  /// order of the date. Without any, the index of the date alone is used.
  std::vector<Predicate> ways = {};
  std::vector<std::string> columns = {};
  /// How many rows are tested along each way in turn, before the table is gone through.
  std::vector<std::size_t> turns = {1000, 10000};
  /// Makes a test for a thread; the test of it all, the ways included, but not the bounds.
  std::function<RowTest()> makeTest = {};
};

}  // namespace velto
