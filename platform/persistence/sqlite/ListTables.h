// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;

namespace velto {

/// Makes the table-valued functions velto_strings(list) and velto_integers(list) known to the
/// connection: tables with the one column `value`, whose rows are the elements of a list bound with
/// bindList. So a condition on any number of values stays one short statement. The result is
/// SQLite's.
int registerListTables(sqlite3* database);

/// Binds a list, which must stay as it is while the statement uses it.
int bindList(sqlite3_stmt* statement, int index, const std::vector<std::string>& list);
int bindList(sqlite3_stmt* statement, int index, const std::span<const std::int64_t>& list);

}  // namespace velto
