// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string_view>

#include "platform/persistence/FetchQuery.h"
#include "platform/persistence/saving/UnsyncedCommits.h"
#include "platform/persistence/sqlite/SQLiteConnection.h"

namespace velto {

/// Calls `row` with one row of a statement after the other until it returns false. They are all as
/// of one moment, whose commits are on disk before `row` is called: nobody is told what he could
/// not read again. `bind` gives the statement its operands, perhaps more than once. False when the
/// rows cannot be read; the reader knows why.
bool readRows(SQLiteConnection& reader, std::string_view sql,
              const std::function<void(Statement&)>& bind, UnsyncedCommits& unsynced,
              const std::function<bool(const Statement&)>& row);
/// The same for a query.
bool readRows(const FetchQuery& query, SQLiteConnection& reader, UnsyncedCommits& unsynced,
              const std::function<bool(const Statement&)>& row);

}  // namespace velto
