// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/foundation/Error.h"
#include "platform/persistence/EntityObjects.h"
#include "platform/persistence/FetchRequest.h"
#include "platform/persistence/ManagedObject.h"
#include "platform/persistence/PersistentStoreCoordinator.h"

namespace velto {

/// A unit of work in memory. Inserted, changed and deleted objects live in it until `save`; a fetch
/// reads what is committed in the file at that moment, with the context's own pending changes laid
/// over it: predicate, sort order and limit see the pending values. A record stays as it was first
/// read until the context is saved, also where the file has newer values by then: so a change is
/// always made to what its maker has seen, and its save fails when that is not what is there any
/// more. Dropping the context drops what was not saved. Between calls it holds no lock and no
/// transaction.
///
/// One thread at a time. Without a coordinator every fetch and save fails with an error.
class ManagedObjectContext {
 public:
  ManagedObjectContext() = default;
  ManagedObjectContext(const ManagedObjectContext&) = delete;
  ManagedObjectContext& operator=(const ManagedObjectContext&) = delete;

  /// May be null: the context then has no storage behind it. Set once, before first use.
  void setPersistentStoreCoordinator(std::shared_ptr<PersistentStoreCoordinator> coordinator);
  /// What the errors of a context without a coordinator say, in a sentence.
  void setWhyNoCoordinator(std::string why) { whyNoCoordinator_ = std::move(why); }

  /// The matching records as `Object` (a class derived from ManagedObject), or nothing with the
  /// error in the slot, whatever the slot held. Leaves the slot alone on success.
  template <typename Object = ManagedObject>
  std::optional<std::vector<Object>> executeFetchRequest(const FetchRequest& request,
                                                         ErrorSlot error) {
    const auto states = fetch(request, error);
    if (!states) {
      return std::nullopt;
    }
    std::vector<Object> objects;
    objects.reserve(states->size());
    for (ObjectState* state : *states) {
      objects.emplace_back(*state);
    }
    return objects;
  }

  /// A new record with every attribute absent. Also without a coordinator: the save fails then. An
  /// entity that no model knows is a mistake of the program and ends the process.
  template <typename Object = ManagedObject>
  Object insertNewObject(std::string_view entityName) {
    return Object(insert(entityName));
  }

  /// Deletes the record from the context; the store drops it at the next save. Deleting a record
  /// that was never saved forgets it. A deleted handle must not be changed any more.
  void deleteObject(const ManagedObject& object);

  bool hasChanges() const;

  /// Writes all pending changes in one transaction; true when they are on disk. A record that
  /// another context changed or deleted since it was read here fails the whole save with a conflict
  /// error: nothing is written, and the changes stay pending. Without pending changes it succeeds
  /// without touching the store. A failure replaces what the slot held.
  bool save(ErrorSlot error);
  /// The same without waiting for other saves: until `completion` is called, possibly on another
  /// thread, nobody uses the context. The completion must not wait for anything, nor throw; it may
  /// destroy the context.
  void save(ErrorReply completion);

 private:
  /// The records with pending changes, and what is to be written of each.
  struct PendingChanges;

  std::optional<std::vector<ObjectState*>> fetch(const FetchRequest& request, ErrorSlot error);
  ObjectState& insert(std::string_view entityName);
  EntityObjects& objectsOf(std::string_view entityName);
  bool hasCoordinator(ErrorSlot error) const;
  PendingChanges pendingChanges() const;
  void noteSaved(const PendingChanges& saved);

  std::shared_ptr<PersistentStoreCoordinator> coordinator_;
  std::string whyNoCoordinator_ = "No store has been opened";
  std::map<std::string, EntityObjects, std::less<>> objects_;  ///< by the entity's name
};

}  // namespace velto
