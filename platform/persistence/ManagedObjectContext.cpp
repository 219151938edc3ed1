#include "platform/persistence/ManagedObjectContext.h"

#include <algorithm>
#include <map>
#include <string>
#include <utility>

#include "platform/persistence/CommitQueue.h"
#include "platform/persistence/EntityObjects.h"
#include "platform/persistence/FetchQuery.h"
#include "platform/persistence/ProgramMistake.h"

namespace velto {

class ManagedObjectContext::Implementation {
 public:
  void setCoordinator(std::shared_ptr<PersistentStoreCoordinator> coordinator) {
    coordinator_ = std::move(coordinator);
  }

  ObjectState& insert(std::string_view entityName) { return objectsOf(entityName).insert(); }

  std::optional<std::vector<ObjectState*>> fetch(const FetchRequest& request, ErrorSlot error);

  bool hasChanges() const {
    return std::any_of(objects_.begin(), objects_.end(),
                       [](const auto& entry) { return !entry.second.pending().empty(); });
  }

  bool save(ErrorSlot error);

 private:
  EntityObjects& objectsOf(std::string_view entityName);
  bool hasCoordinator(ErrorSlot error) const;

  std::shared_ptr<PersistentStoreCoordinator> coordinator_;
  std::map<std::string, EntityObjects, std::less<>> objects_;
};

EntityObjects& ManagedObjectContext::Implementation::objectsOf(std::string_view entityName) {
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

bool ManagedObjectContext::Implementation::hasCoordinator(ErrorSlot error) const {
  if (coordinator_ == nullptr) {
    replaceError(error, makeError(kPersistenceErrorDomain, kNoStoreErrorCode,
                                  "the context has no store coordinator"));
  }
  return coordinator_ != nullptr;
}

std::optional<std::vector<ObjectState*>> ManagedObjectContext::Implementation::fetch(
    const FetchRequest& request, ErrorSlot error) {
  if (!hasCoordinator(error)) {
    return std::nullopt;
  }
  EntityObjects& objects = objectsOf(request.entityName());
  // A row with pending changes may not be among the results, so as many more are needed.
  const std::size_t limit =
      request.fetchLimit() == 0 ? 0 : request.fetchLimit() + objects.pending().size();
  const EntityDescription& entity = *objects.entity();
  const FetchQuery query(coordinator_->sql(entity).select, request, entity, limit);
  std::vector<ObjectState*> found;
  const auto addRow = [&](const Statement& row) {
    if (ObjectState* state = objects.read(row)) {
      found.push_back(state);
    }
  };
  if (!coordinator_->fetch(query, addRow, error)) {
    return std::nullopt;
  }
  objects.overlay(request, found);
  return found;
}

bool ManagedObjectContext::Implementation::save(ErrorSlot error) {
  if (!hasCoordinator(error)) {
    return false;
  }
  std::vector<ObjectState*> states;
  std::vector<RowChange> changes;
  for (const auto& [name, objects] : objects_) {
    const EntitySql& sql = coordinator_->sql(*objects.entity());
    for (ObjectState* state : objects.pending()) {
      states.push_back(state);
      changes.push_back(EntityObjects::change(*state, sql));
    }
  }
  if (!changes.empty() && !coordinator_->save(changes, error)) {
    return false;
  }
  for (std::size_t index = 0; index < states.size(); ++index) {
    states[index]->objects.saved(*states[index], changes[index]);
  }
  for (auto& [name, objects] : objects_) {
    objects.clearPending();
  }
  return true;
}

ManagedObjectContext::ManagedObjectContext()
    : implementation_(std::make_unique<Implementation>()) {}

ManagedObjectContext::~ManagedObjectContext() = default;

void ManagedObjectContext::setPersistentStoreCoordinator(
    std::shared_ptr<PersistentStoreCoordinator> coordinator) {
  implementation_->setCoordinator(std::move(coordinator));
}

void ManagedObjectContext::deleteObject(const ManagedObject& object) {
  object.state().objects.remove(object.state());
}

bool ManagedObjectContext::hasChanges() const {
  return implementation_->hasChanges();
}

bool ManagedObjectContext::save(ErrorSlot error) {
  return implementation_->save(error);
}

std::optional<std::vector<ObjectState*>> ManagedObjectContext::fetch(const FetchRequest& request,
                                                                     ErrorSlot error) {
  return implementation_->fetch(request, error);
}

ObjectState& ManagedObjectContext::insert(std::string_view entityName) {
  return implementation_->insert(entityName);
}

}  // namespace velto
