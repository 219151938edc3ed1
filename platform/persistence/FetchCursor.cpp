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
//     part_ == parts_.size()    nothing comes any more
//
// A list may have parts that no index has in its order: what was read within a period, but sent
// before it. Such a part is decided on at once, when its turn comes, from indexes that have the
// dates: 16 bytes a record, sorted once, and not again for each portion.
//
// 1. A portion takes only what comes after `last_`, and row ids are never used again: so no record
//    comes twice, as long as nobody moves it to a later place by changing its key.
// 2. `next_` counts ids, also those of records that are gone: a deleted record costs its turn and
//    no other.
// 3. A step that fails leaves the place where it began, and the next call tries it again; records
//    that the step has passed on before it failed would come again. A list ends with the error.

#include "platform/persistence/FetchCursor.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <span>
#include <string>
#include <utility>

#include "platform/foundation/ProgramMistake.h"
#include "platform/persistence/EntitySql.h"
#include "platform/persistence/sqlite/SQLiteConnection.h"

namespace velto {
namespace {

constexpr double kNoDate = std::numeric_limits<double>::quiet_NaN();

/// The entity of a request that is one for a cursor.
const EntityDescription& requiredEntity(const ManagedObjectModel& model,
                                        const FetchRequest& request) {
  const EntityDescription* entity = model.entity(request.entityName());
  if (entity == nullptr) {
    programMistake("the model has no entity " + request.entityName());
  }
  const auto& sort = request.sortDescriptors();
  if (sort.size() != 1 || sort.front().ascending || request.fetchLimit() != 0 ||
      entity->attributes()[entity->requiredAttributeIndex(sort.front().key)].type !=
          AttributeType::kDate) {
    programMistake("a cursor goes in the descending order of one date, without a limit");
  }
  return *entity;
}

const FetchRequest& required(const ManagedObjectModel& model, const FetchRequest& request) {
  requiredEntity(model, request);
  return request;
}

/// The same request, of those records alone that the condition holds for.
FetchRequest narrowed(FetchRequest request, std::string_view format) {
  const auto condition =
      Predicate::withFormat(request.sortDescriptors().front().key + std::string(format));
  request.setPredicate(request.predicate() ? Predicate::both(*request.predicate(), condition)
                                           : condition);
  return request;
}

}  // namespace

std::vector<FetchPart> datedAndUndated(const FetchRequest& request) {
  return {{{narrowed(request, " != nil")}}, {{narrowed(request, " = nil")}}};
}

FetchCursor::FetchCursor(std::shared_ptr<PersistentStoreCoordinator> coordinator,
                         const FetchRequest& request, std::size_t portion)
    : FetchCursor(coordinator, datedAndUndated(required(coordinator->model(), request)), portion) {}

FetchCursor::FetchCursor(std::shared_ptr<PersistentStoreCoordinator> coordinator,
                         std::vector<FetchPart> parts, std::size_t portion)
    : coordinator_(std::move(coordinator)),
      parts_(std::move(parts)),
      portion_(portion),
      objects_(&requiredEntity(coordinator_->model(), parts_.front().requests.front())),
      state_{objects_, ObjectState::Condition::kUnchanged, 0, 0, 0, {}} {}

FetchCursor::~FetchCursor() = default;

bool FetchCursor::readStates(const std::function<bool(ObjectState&)>& take, ErrorSlot error) {
  return readStatements(
      [&](const Statement& row) {
        objects_.refresh(state_, row);
        return take(state_);
      },
      error);
}

bool FetchCursor::readRows(const std::function<bool(const StoredRow&)>& take, ErrorSlot error) {
  return readStatements(
      [&](const Statement& row) { return take(StoredRow(row, EntityObjects::kColumnsBefore)); },
      error);
}

bool FetchCursor::readStatements(const std::function<bool(const Statement&)>& take,
                                 ErrorSlot error) {
  bool isTaken = false;
  const auto takeRow = [&](const Statement& row) {
    isTaken = true;
    return take(row);
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
  while (rowIds_.empty() && part_ < parts_.size()) {
    const FetchPart& part = parts_[part_];
    if (!(part.isDecidedAtOnce ? decideAtOnce(error)
                               : decidePortion(part.requests.front(), error))) {
      rowIds_.clear();
      return false;
    }
  }
  return !rowIds_.empty();
}

bool FetchCursor::decidePortion(const FetchRequest& request, ErrorSlot error) {
  Place last{};
  const auto take = [&](Place place) {
    rowIds_.push_back(place.rowId);
    last = place;
  };
  if (!fetchPlaces(request, portion_, last_ ? &*last_ : nullptr, take, error)) {
    return false;
  }
  if (rowIds_.size() < portion_) {
    ++part_;
    last_.reset();
  } else {
    last_ = FetchPosition{
        std::isnan(last.date) ? AttributeValue() : AttributeValue(Date(last.date)), last.rowId};
  }
  return true;
}

bool FetchCursor::decideAtOnce(ErrorSlot error) {
  if (!places_) {
    std::deque<Place> places;
    if (!findPlaces(places, error)) {
      return false;
    }
    places_ = std::move(places);
    nextPlace_ = 0;
  }
  takePlaces();
  return true;
}

bool FetchCursor::findPlaces(std::deque<Place>& places, ErrorSlot error) {
  for (const FetchRequest& request : parts_[part_].requests) {
    if (!fetchPlaces(
            request, 0, nullptr, [&](Place place) { places.push_back(place); }, error)) {
      return false;
    }
  }
  const auto isBefore = [](const Place& left, const Place& right) {
    const bool isDated = !std::isnan(left.date);
    if (isDated != !std::isnan(right.date)) {
      return isDated;
    }
    return isDated && left.date != right.date ? left.date > right.date : left.rowId > right.rowId;
  };
  std::sort(places.begin(), places.end(), isBefore);
  const auto isSame = [](const Place& left, const Place& right) {
    return left.rowId == right.rowId;
  };
  places.erase(std::unique(places.begin(), places.end(), isSame), places.end());
  return true;
}

/// The next portion of those that were decided on at once.
void FetchCursor::takePlaces() {
  const std::size_t end = std::min(places_->size(), nextPlace_ + portion_);
  for (; nextPlace_ < end; ++nextPlace_) {
    rowIds_.push_back((*places_)[nextPlace_].rowId);
  }
  if (end == places_->size()) {
    places_.reset();
    ++part_;
  }
}

bool FetchCursor::fetchPlaces(const FetchRequest& request, std::size_t limit,
                              const FetchPosition* after, const std::function<void(Place)>& take,
                              ErrorSlot error) {
  const std::string& key = request.sortDescriptors().front().key;
  const FetchQuery query(
      "SELECT _id, " + quoted(key) + " FROM " + quoted(objects_.entity()->name()), request,
      *objects_.entity(), limit, after);
  return coordinator_->fetch(
      query,
      [&](const Statement& row) {
        take({row.presentReal(1).value_or(kNoDate), row.integer(0)});
        return true;
      },
      error);
}

}  // namespace velto
