// SPDX-License-Identifier: Apache-2.0
// Keyset pagination. Where the next portion begins is told by the last record of this one, by its
// sort key and its row id, and not by a count of records to skip: a count would miss or repeat
// records when others come or go before it, and would read all that it skips.
//
// Two steps, so that neither a long list nor a slow taker costs anybody anything. decideNext()
// reads the row ids of the next portion, in one query; readStates() reads the records of these ids
// as they are asked for. Each step is one statement, as of one moment, on a reader that goes back
// to the pool. In between nothing is held but the ids, 8 bytes a record, and no snapshot keeps a
// checkpoint from coming to its end.
//
//     rowIds_[next_] ...        decided on, and still to be read
//     next_ == rowIds_.size()   the portion is used up: decideNext()
//     isLastPortion_            this portion has fewer ids than it could: nothing comes after it
//
// 1. A portion takes only what comes after `last_`, and row ids are never used again: so no record
//    comes twice, as long as nobody moves it to a later place by changing its key.
// 2. `next_` counts ids, also those of records that are gone: a deleted record costs its turn and
//    no other.
// 3. A step that fails leaves the place where it began, and the next call tries it again; records
//    that the step has passed on before it failed would come again. A list ends with the error.

#include "platform/persistence/FetchCursor.h"

#include <span>
#include <string>
#include <utility>

#include "platform/foundation/ProgramMistake.h"
#include "platform/persistence/EntitySql.h"
#include "platform/persistence/sqlite/SQLiteConnection.h"

namespace velto {
namespace {

const EntityDescription& requiredEntity(const ManagedObjectModel& model,
                                        const FetchRequest& request) {
  const EntityDescription* entity = model.entity(request.entityName());
  if (entity == nullptr) {
    programMistake("the model has no entity " + request.entityName());
  }
  if (request.sortDescriptors().size() != 1 || request.sortDescriptors().front().ascending ||
      request.fetchLimit() != 0) {
    programMistake("a cursor goes in the descending order of one key, without a limit");
  }
  return *entity;
}

}  // namespace

FetchCursor::FetchCursor(std::shared_ptr<PersistentStoreCoordinator> coordinator,
                         FetchRequest request, std::size_t portion)
    : coordinator_(std::move(coordinator)),
      request_(std::move(request)),
      portion_(portion),
      objects_(&requiredEntity(coordinator_->model(), request_)),
      state_{objects_, ObjectState::Condition::kUnchanged, 0, 0, 0, {}} {}

FetchCursor::~FetchCursor() = default;

bool FetchCursor::readStates(const std::function<bool(ObjectState&)>& take, ErrorSlot error) {
  bool isTaken = false;
  const auto takeRow = [&](const Statement& row) {
    isTaken = true;
    objects_.refresh(state_, row);
    return take(state_);
  };
  // All that were decided on may have been deleted since.
  while (!isTaken) {
    if (next_ == rowIds_.size() && !decideNext(error)) {
      return false;
    }
    const auto done = coordinator_->fetchRows(*objects_.entity(), std::span(rowIds_).subspan(next_),
                                              takeRow, error);
    if (!done) {
      return false;
    }
    next_ += *done;
  }
  return true;
}

/// False when there are none any more, or with the error.
bool FetchCursor::decideNext(ErrorSlot error) {
  rowIds_.clear();
  next_ = 0;
  if (isLastPortion_) {
    return false;
  }
  const EntityDescription& entity = *objects_.entity();
  const std::string& key = request_.sortDescriptors().front().key;
  const AttributeType type = entity.attributes()[entity.requiredAttributeIndex(key)].type;
  const FetchQuery query("SELECT _id, " + quoted(key) + " FROM " + quoted(entity.name()), request_,
                         entity, portion_, last_ ? &*last_ : nullptr);
  AttributeValue lastKey;
  const bool isRead = coordinator_->fetch(
      query,
      [&](const Statement& row) {
        rowIds_.push_back(row.integer(0));
        if (rowIds_.size() == portion_) {
          lastKey = row.value(1, type);
        }
        return true;
      },
      error);
  if (!isRead) {
    rowIds_.clear();
    return false;
  }
  isLastPortion_ = rowIds_.size() < portion_;
  if (!isLastPortion_) {
    last_ = FetchPosition{std::move(lastKey), rowIds_.back()};
  }
  return !rowIds_.empty();
}

}  // namespace velto
