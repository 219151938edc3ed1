// SPDX-License-Identifier: Apache-2.0
// Keyset pagination. Where the next portion begins is told by the last record of this one, by its
// sort key and its row id, and not by a count of records to skip: a count would miss or repeat
// records when others come or go before it, and would read all that it skips.
//
// Each reading is one statement, as of one moment, on a reader that goes back to the pool. In
// between nothing is held but the place, and no snapshot keeps a checkpoint from coming to its end.
// A reading goes one record further than it passes on, so that the last one is known for it.
//
// A list may have parts that no index has in its order: what was read within a period, but sent
// before it. Such a part is decided on at once, when its turn comes, from indexes that have the
// dates: 16 bytes a record, sorted once, and then 8 for its row id.
//
//     last_, or rowIds_[next_] ...   the part goes on there
//     neither                        the part has not begun
//     part_ == parts_.size()         nothing comes any more
//
// 1. A reading takes only what comes after `last_`, and row ids are never used again: so no record
//    comes twice, as long as nobody moves it to a later place by changing its key.
// 2. `next_` counts ids, also those of records that are gone: a deleted record costs its turn and
//    no other.
// 3. A reading that fails before it has passed on all that was wanted leaves the place where it
//    began, and the next call tries it again; what it has passed on would come again. A list ends
//    with the error.

#include "platform/persistence/FetchCursor.h"

#include <algorithm>
#include <cmath>
#include <deque>
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
                         const FetchRequest& request)
    : FetchCursor(coordinator, datedAndUndated(required(coordinator->model(), request))) {}

FetchCursor::FetchCursor(std::shared_ptr<PersistentStoreCoordinator> coordinator,
                         std::vector<FetchPart> parts)
    : coordinator_(std::move(coordinator)),
      parts_(std::move(parts)),
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

bool FetchCursor::hasNext(ErrorSlot error) {
  while (part_ < parts_.size()) {
    const auto isThere = hasRecords(error);
    if (!isThere || *isThere) return isThere.has_value();
    endPart();
  }
  return false;
}

/// In the part whose turn it is; nothing with the error.
std::optional<bool> FetchCursor::hasRecords(ErrorSlot error) {
  if (part().isDecidedAtOnce) {
    return decide(error) ? std::optional(next_ < rowIds_->size()) : std::nullopt;
  }
  bool isThere = last_.has_value();
  const auto note = [&](Place) { isThere = true; };
  const bool isKnown = isThere || fetchPlaces(part().requests.front(), 1, note, error);
  return isKnown ? std::optional(isThere) : std::nullopt;
}

void FetchCursor::endPart() {
  ++part_;
  last_.reset();
  rowIds_.reset();
}

bool FetchCursor::readStatements(const Take& take, ErrorSlot error) {
  while (part_ < parts_.size()) {
    const auto isTaken =
        part().isDecidedAtOnce ? readDecided(take, error) : readInOrder(take, error);
    if (!isTaken || *isTaken) return isTaken.has_value();
  }
  return false;
}

/// Whether there were records; nothing with the error.
std::optional<bool> FetchCursor::readInOrder(const Take& take, ErrorSlot error) {
  const EntityDescription& entity = *objects_.entity();
  const FetchRequest& request = part().requests.front();
  const int keyColumn =
      EntityObjects::kColumnsBefore +
      static_cast<int>(entity.requiredAttributeIndex(request.sortDescriptors().front().key));
  Place last{};
  bool isTaken = false;
  bool isFull = false;
  bool isMore = false;
  const auto takeRow = [&](const Statement& row) {
    isMore = isFull;
    if (isMore) return false;
    isTaken = true;
    isFull = !take(row);
    if (isFull) last = {row.presentReal(keyColumn).value_or(kNoDate), row.integer(0)};
    return true;
  };
  const FetchQuery query(coordinator_->sql(entity).select, request, entity, 0,
                         last_ ? &*last_ : nullptr);
  std::optional<Error> failure;
  const bool isRead = coordinator_->fetch(query, takeRow, &failure);
  if (!isRead && !isFull) {
    replaceError(error, *std::move(failure));
    return std::nullopt;
  }
  // What fails behind the last record that was wanted is met by the next reading.
  if (isMore || !isRead) {
    last_ = {std::isnan(last.date) ? AttributeValue() : AttributeValue(Date(last.date)),
             last.rowId};
  } else {
    endPart();
  }
  return isTaken;
}

/// Whether there were records; nothing with the error.
std::optional<bool> FetchCursor::readDecided(const Take& take, ErrorSlot error) {
  if (!decide(error)) return std::nullopt;
  bool isTaken = false;
  const auto takeRow = [&](const Statement& row) {
    isTaken = true;
    return take(row);
  };
  const auto done = coordinator_->fetchRows(*objects_.entity(), std::span(*rowIds_).subspan(next_),
                                            takeRow, error);
  if (!done) return std::nullopt;
  next_ += *done;
  if (next_ == rowIds_->size()) endPart();
  return isTaken;
}

/// On the records of the part whose turn it is, unless that has been done.
bool FetchCursor::decide(ErrorSlot error) {
  if (rowIds_) return true;
  std::deque<Place> places;
  const auto take = [&](Place place) { places.push_back(place); };
  for (const FetchRequest& request : part().requests) {
    if (!fetchPlaces(request, 0, take, error)) return false;
  }
  const auto isBefore = [](const Place& left, const Place& right) {
    const bool isDated = !std::isnan(left.date);
    if (isDated != !std::isnan(right.date)) {
      return isDated;
    }
    return isDated && left.date != right.date ? left.date > right.date : left.rowId > right.rowId;
  };
  std::sort(places.begin(), places.end(), isBefore);
  std::vector<std::int64_t> rowIds;
  rowIds.reserve(places.size());
  for (; !places.empty(); places.pop_front()) {  // which gives its memory back on the way
    const std::int64_t rowId = places.front().rowId;
    if (rowIds.empty() || rowIds.back() != rowId) rowIds.push_back(rowId);
  }
  rowIds_ = std::move(rowIds);
  next_ = 0;
  return true;
}

bool FetchCursor::fetchPlaces(const FetchRequest& request, std::size_t limit,
                              const std::function<void(Place)>& take, ErrorSlot error) {
  const std::string& key = request.sortDescriptors().front().key;
  const FetchQuery query(
      "SELECT _id, " + quoted(key) + " FROM " + quoted(objects_.entity()->name()), request,
      *objects_.entity(), limit);
  const auto takePlace = [&](const Statement& row) {
    take({row.presentReal(1).value_or(kNoDate), row.integer(0)});
    return true;
  };
  return coordinator_->fetch(query, takePlace, error);
}

}  // namespace velto
