// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

#include "platform/foundation/Date.h"

namespace velto {

class Statement;

/// A record as it lies in SQLite's memory, for those that only look at it: nothing is copied. Its
/// values are named by the position of their attribute, and asked for as what the model says they
/// are. Valid until whoever shows it takes the next one; the thread's alone.
class StoredRow {
 public:
  /// The attributes' columns come behind so many others.
  StoredRow(const Statement& statement, int columnsBefore)
      : statement_(statement), columnsBefore_(columnsBefore) {}

  /// A text, or data. Nothing when it is absent.
  std::optional<std::string_view> bytes(std::size_t attribute) const;
  std::optional<Date> date(std::size_t attribute) const;

 private:
  int column(std::size_t attribute) const { return static_cast<int>(attribute) + columnsBefore_; }

  const Statement& statement_;
  const int columnsBefore_;
};

}  // namespace velto
