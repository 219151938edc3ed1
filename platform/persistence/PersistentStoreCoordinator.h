#pragma once

#include <memory>
#include <string>

#include "platform/foundation/Error.h"
#include "platform/persistence/ManagedObjectModel.h"

namespace velto {

/// The domain of every error that the persistence makes itself. The code of a failure of SQLite is
/// SQLite's extended result code; the constants below are the others.
inline constexpr std::string_view kPersistenceErrorDomain = "VeltoPersistence";
inline constexpr int kConflictErrorCode = 1001;        ///< a record was changed or deleted meanwhile
inline constexpr int kNoStoreErrorCode = 1002;         ///< the context has no storage behind it
inline constexpr int kIncompatibleStoreErrorCode = 1003;  ///< a file of another model or program

/// The door to one store file, shared by all contexts of the process. Owns the one connection that
/// writes and checkpoints, and a pool of reading connections. Synchronised itself: any thread.
///
/// Saves that wait for each other are committed together: the first to arrive leads, applies every
/// waiting save in a savepoint of its own, in order, commits once and wakes all.
class PersistentStoreCoordinator {
 public:
  explicit PersistentStoreCoordinator(std::shared_ptr<const ManagedObjectModel> model);
  ~PersistentStoreCoordinator();
  PersistentStoreCoordinator(const PersistentStoreCoordinator&) = delete;
  PersistentStoreCoordinator& operator=(const PersistentStoreCoordinator&) = delete;

  /// Opens the SQLite store at `path`, creating the file (mode 0600) when it is missing, in WAL mode
  /// with synchronous=FULL. False with an error that names the file when it cannot: it is then left
  /// as it was. A file of another model or another program is refused and not written to.
  bool addPersistentStore(const std::string& path, ErrorSlot error);

  const ManagedObjectModel& model() const { return *model_; }

 private:
  const std::shared_ptr<const ManagedObjectModel> model_;
  // The rest is the implementation's.
};

}  // namespace velto
