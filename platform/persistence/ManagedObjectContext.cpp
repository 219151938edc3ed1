// SPDX-License-Identifier: Apache-2.0
#include "platform/persistence/ManagedObjectContext.h"

#include <algorithm>
#include <future>
#include <utility>

#include "platform/foundation/ProgramMistake.h"
#include "platform/persistence/FetchQuery.h"
#include "platform/persistence/saving/CommitQueue.h"

namespace velto {

struct ManagedObjectContext::PendingChanges {
  std::vector<ObjectState*> states;
  std::vector<RowChange> changes;
};

void ManagedObjectContext::setPersistentStoreCoordinator(
    std::shared_ptr<PersistentStoreCoordinator> coordinator) {
  coordinator_ = std::move(coordinator);
}

ObjectState& ManagedObjectContext::insert(std::string_view entityName) {
  return objectsOf(entityName).insert();
}

void ManagedObjectContext::deleteObject(const ManagedObject& object) {
  object.state().objects.remove(object.state());
}

bool ManagedObjectContext::hasChanges() const {
  return std::any_of(objects_.begin(), objects_.end(),
                     [](const auto& entry) { return !entry.second.pending().empty(); });
}

EntityObjects& ManagedObjectContext::objectsOf(std::string_view entityName) {
  if (const auto known = objects_.find(entityName); known != objects_.end()) {
    return known->second;
  }
  const EntityDescription* entity =
      coordinator_ == nullptr ? nullptr : coordinator_->model().entity(entityName);
  if (coordinator_ != nullptr && entity == nullptr) {
    programMistake("the model has no entity " + std::string(entityName));
  }
  return objects_.try_emplace(std::string(entityName), entity).first->second;
}

bool ManagedObjectContext::hasCoordinator(ErrorSlot error) const {
  if (coordinator_ == nullptr) {
    replaceError(error, makeError(kPersistenceErrorDomain, kNoStoreErrorCode, whyNoCoordinator_));
  }
  return coordinator_ != nullptr;
}

std::optional<std::vector<ObjectState*>> ManagedObjectContext::fetch(const FetchRequest& request,
                                                                     ErrorSlot error) {
  if (!hasCoordinator(error)) {
    return std::nullopt;
  }
  EntityObjects& objects = objectsOf(request.entityName());
  const EntityDescription& entity = *objects.entity();
  // A row with pending changes may not be among the results, so it is not the file that counts.
  const FetchQuery query(coordinator_->sql(entity).select, request, entity, 0);
  std::vector<ObjectState*> found;
  const auto addRow = [&](const Statement& row) {
    if (ObjectState* state = objects.read(row)) {
      found.push_back(state);
    }
    return found.size() != request.fetchLimit() || found.empty();
  };
  if (!coordinator_->fetch(query, addRow, error)) {
    return std::nullopt;
  }
  objects.overlay(request, found);
  return found;
}

bool ManagedObjectContext::save(ErrorSlot error) {
  // Shared, since whoever sets the result may still be at it when this thread has it already.
  const auto result = std::make_shared<std::promise<std::optional<Error>>>();
  save([result](std::optional<Error> failure) { result->set_value(std::move(failure)); });
  std::optional<Error> failure = result->get_future().get();
  if (!failure) {
    return true;
  }
  replaceError(error, *std::move(failure));
  return false;
}

void ManagedObjectContext::save(ErrorReply completion) {
  std::optional<Error> failure;
  const bool hasStore = hasCoordinator(&failure);
  if (!hasStore || !hasChanges()) {
    if (hasStore) {
      noteSaved({});
    }
    completion(std::move(failure));
    return;
  }
  const auto written = std::make_shared<PendingChanges>(pendingChanges());
  // Kept, since the completion may destroy the context.
  const auto coordinator = coordinator_;
  coordinator->save(written->changes, [this, written, completion = std::move(completion)](
                                          std::optional<Error> error) {
    if (!error) {
      noteSaved(*written);
    }
    completion(std::move(error));
  });
}

ManagedObjectContext::PendingChanges ManagedObjectContext::pendingChanges() const {
  PendingChanges pending;
  for (const auto& [name, objects] : objects_) {
    const EntitySql& sql = coordinator_->sql(*objects.entity());
    for (const auto& [place, state] : objects.pending().inOrder()) {
      pending.states.push_back(state);
      pending.changes.push_back(EntityObjects::change(*state, sql));
    }
  }
  return pending;
}

void ManagedObjectContext::noteSaved(const PendingChanges& saved) {
  for (std::size_t index = 0; index < saved.states.size(); ++index) {
    saved.states[index]->objects.saved(*saved.states[index], saved.changes[index]);
  }
  for (auto& [name, objects] : objects_) {
    objects.noteSave();
  }
}

}  // namespace velto
