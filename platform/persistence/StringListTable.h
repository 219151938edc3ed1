#pragma once

#include <string>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;

namespace velto {

/// Makes the table-valued function velto_strings(list) known to the connection: a table with the
/// one column `value` whose rows are the strings of a list bound with bindStringList. So a
/// condition on any number of strings stays one short statement. The result is SQLite's.
int registerStringListTable(sqlite3* database);

/// Binds a list, which must stay as it is while the statement uses it.
int bindStringList(sqlite3_stmt* statement, int index, const std::vector<std::string>& list);

}  // namespace velto
