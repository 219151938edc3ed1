#pragma once

#include <string>

#include "platform/foundation/Error.h"
#include "platform/persistence/Connection.h"
#include "platform/persistence/EntitySql.h"
#include "platform/persistence/ManagedObjectModel.h"

namespace velto {

/// The store's file before it is in use: making it, and telling it from others. The file's header
/// carries an application id and the model's hash.
///
/// Closing a file drops all locks that the process holds on it, so a file must not be checked while
/// a connection of this process has it open.
class StoreFile {
 public:
  StoreFile(std::string path, const ManagedObjectModel& model);

  /// Makes a missing file, empty and for the owner alone; refuses an existing one that is neither
  /// empty nor a store of the model. Looks at the bytes only: SQLite would recover a foreign file
  /// or put others beside it.
  bool prepare(ErrorSlot error) const;

  /// Creates what the file lacks of tables and indexes, in one transaction.
  bool createSchema(Connection& connection, const std::vector<EntitySql>& entities,
                    ErrorSlot error) const;

 private:
  std::optional<Error> check(int descriptor) const;
  bool writeSchema(Connection& connection, const std::vector<EntitySql>& entities) const;
  Error incompatible(std::string_view why) const;
  Error unusable(int errorNumber) const;

  const std::string path_;
  const std::uint32_t modelTag_;  ///< as much of the model's hash as the header has room for
};

}  // namespace velto
