// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/foundation/Error.h"
#include "platform/persistence/EntitySql.h"
#include "platform/persistence/ManagedObjectModel.h"
#include "platform/persistence/sqlite/DirectoryEntries.h"
#include "platform/persistence/sqlite/SQLiteConnection.h"

namespace velto {

/// The store's file before it is in use: making it, telling it from others, and making sure of what
/// it holds. The file's header carries an application id and the model's hash. One thread.
///
/// Closing a file drops all locks that the process holds on it, so a file must not be opened here
/// while a connection of this process has it open.
class StoreFile {
 public:
  /// `entities` are those of the model. What is referred to outlives the object. `notice` is told
  /// what whoever started the program should know.
  StoreFile(std::string path, const ManagedObjectModel& model,
            const std::vector<EntitySql>& entities,
            const DirectoryEntries& entries = DirectoryEntries::system(),
            std::function<void(std::string_view)> notice = {});

  /// The writing connection to the file, which is in WAL mode and has all tables and indexes; null
  /// with the error otherwise. A missing or empty file is made, for the owner alone: whole, under
  /// another name, and then moved into place, so that a stop at any moment leaves none or a whole
  /// one. An existing file that is not a store of the model is refused by its header, because
  /// SQLite would recover a foreign file or put others beside it.
  std::unique_ptr<SQLiteConnection> open(ErrorSlot error) const;

 private:
  enum class Content { kStore, kNothing, kUnusable };

  Content content(ErrorSlot error) const;
  std::optional<Error> check(int descriptor, std::size_t size) const;

  bool create(ErrorSlot error) const;
  bool fill(const std::string& newFile, ErrorSlot error) const;
  bool moveIntoPlace(const std::string& newFile, ErrorSlot error) const;
  std::unique_ptr<SQLiteConnection> connect(Content found, ErrorSlot error) const;
  bool syncNames(ErrorSlot error) const;
  bool setForeignLogAside(ErrorSlot error) const;
  void tell(std::string_view line) const;
  void removeDatabase(const std::string& path) const;
  bool createSchema(SQLiteConnection& connection, ErrorSlot error) const;
  bool writeSchema(SQLiteConnection& connection) const;
  Error incompatible(std::string_view why) const;

  const std::string path_;
  const std::uint32_t modelTag_;        ///< the model's version, and the beginning of its hash
  const std::uint32_t unversionedTag_;  ///< what the first files of version 1 carry instead
  const std::vector<EntitySql>& entities_;
  const DirectoryEntries& entries_;
  const std::function<void(std::string_view)> notice_;
};

}  // namespace velto
