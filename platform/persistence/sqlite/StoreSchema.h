// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "platform/persistence/EntitySql.h"

namespace velto {

class SQLiteConnection;

/// The statements that bring the tables and indexes of the connection's file into line with the
/// entities: missing ones are created, and indexes that another version of the model had dropped.
std::vector<std::string> missingSchema(SQLiteConnection& connection,
                                       const std::vector<EntitySql>& entities);

}  // namespace velto
