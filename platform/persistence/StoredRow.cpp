// SPDX-License-Identifier: Apache-2.0
#include "platform/persistence/StoredRow.h"

#include "platform/persistence/sqlite/SQLiteConnection.h"

namespace velto {

std::optional<std::string_view> StoredRow::bytes(std::size_t attribute) const {
  return statement_.presentBytes(column(attribute));
}

std::optional<Date> StoredRow::date(std::size_t attribute) const {
  const auto seconds = statement_.presentReal(column(attribute));
  return seconds ? std::optional(Date(*seconds)) : std::nullopt;
}

}  // namespace velto
