// SPDX-License-Identifier: Apache-2.0
#include "platform/persistence/EntityObjects.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <new>
#include <string>
#include <utility>

#include "platform/foundation/ProgramMistake.h"
#include "platform/persistence/saving/CommitQueue.h"
#include "platform/persistence/sqlite/SQLiteConnection.h"

namespace velto {

namespace {

using Condition = ObjectState::Condition;

/// Above every row id that a file will come to.
constexpr std::int64_t kFirstProvisionalRowId = std::int64_t{1} << 62;

/// The order of a fetch request.
class FetchOrder {
 public:
  FetchOrder(const EntityDescription& entity, const std::vector<SortDescriptor>& descriptors) {
    for (const SortDescriptor& sort : descriptors) {
      keys_.push_back({entity.requiredAttributeIndex(sort.key), sort.ascending});
    }
  }

  bool operator()(const ObjectState* left, const ObjectState* right) const {
    for (const Key& key : keys_) {
      const AttributeValue& leftValue = left->values[key.index];
      const AttributeValue& rightValue = right->values[key.index];
      if (leftValue != rightValue) {
        // An absent value is the variant's first alternative, which is below the others.
        return (leftValue < rightValue) == key.ascending;
      }
    }
    return (left->rowId < right->rowId) == (keys_.empty() || keys_.back().ascending);
  }

 private:
  struct Key {
    std::size_t index;
    bool ascending;
  };
  std::vector<Key> keys_;
};

}  // namespace

ObjectState& EntityObjects::insert() {
  const std::int64_t rowId = kFirstProvisionalRowId + static_cast<std::int64_t>(states_.size());
  const std::size_t attributes = entity_ == nullptr ? 0 : entity_->attributes().size();
  states_.push_back(
      {*this, Condition::kInserted, rowId, 0, saves_, std::vector<AttributeValue>(attributes)});
  pending_.add(states_.back());
  return states_.back();
}

const AttributeValue& EntityObjects::value(const ObjectState& state, std::size_t index) const {
  static const AttributeValue kAbsent;
  if (index < state.values.size()) {
    return state.values[index];
  }
  if (entity_ != nullptr) {
    programMistake(entity_->name() + " has no attribute " + std::to_string(index));
  }
  return kAbsent;
}

void EntityObjects::setValue(ObjectState& state, std::size_t index, AttributeValue value) {
  if (entity_ == nullptr) {
    state.values.resize(std::max(state.values.size(), index + 1));
  } else if (index >= state.values.size() ||
             (value.index() != 0 && !isOfType(value, entity_->attributes()[index].type))) {
    programMistake("a value that attribute " + std::to_string(index) + " of " + entity_->name() +
                   " cannot hold");
  }
  // The file has no place for a date that is not a number; it would come back absent.
  const Date* const date = std::get_if<Date>(&value);
  const bool isStorable = date == nullptr || !std::isnan(date->secondsSinceReference());
  AttributeValue storable = isStorable ? std::move(value) : AttributeValue();
  if (state.condition == Condition::kUnchanged) {
    state.condition = Condition::kUpdated;
    state.values[index] = std::move(storable);
    pending_.add(state);
  } else if (state.condition == Condition::kInserted || state.condition == Condition::kUpdated) {
    pending_.setValue(state, index, std::move(storable));
  } else {
    state.values[index] = std::move(storable);
  }
}

void EntityObjects::remove(ObjectState& state) {
  switch (state.condition) {
    case Condition::kUnchanged:
      pending_.add(state);
      [[fallthrough]];
    case Condition::kUpdated:
      pending_.noteDeletion(state);
      state.condition = Condition::kDeleted;
      break;
    case Condition::kInserted:
      pending_.remove(state);
      state.condition = Condition::kGone;
      break;
    case Condition::kDeleted:
    case Condition::kGone:
      break;
  }
}

ObjectState* EntityObjects::read(const Statement& row) {
  const std::int64_t rowId = row.integer(0);
  const std::int64_t version = row.integer(1);
  const auto [known, isNew] = byRowId_.try_emplace(rowId, nullptr);
  if (isNew) {
    states_.push_back({*this, Condition::kUnchanged, rowId, version, saves_, {}});
    known->second = &states_.back();
    refresh(*known->second, row);
  } else if (known->second->condition != Condition::kUnchanged) {
    return nullptr;
  } else if (known->second->save != saves_) {
    known->second->save = saves_;
    if (known->second->version != version) {
      refresh(*known->second, row);
    }
  }
  return known->second;
}

void EntityObjects::refresh(ObjectState& state, const Statement& row) const {
  const std::vector<AttributeDescription>& attributes = entity_->attributes();
  state.rowId = row.integer(0);
  state.version = row.integer(1);
  state.values.resize(attributes.size());
  for (std::size_t index = 0; index < attributes.size(); ++index) {
    row.read(static_cast<int>(index) + kColumnsBefore, attributes[index].type, state.values[index]);
  }
}

/// The pending records that the request finds, in no order; of those with a key, not more than it
/// wants.
std::vector<ObjectState*> EntityObjects::changedRecords(const FetchRequest& request) {
  const auto& predicate = request.predicate();
  const auto* key =
      predicate ? std::get_if<Predicate::Comparison>(&predicate->condition()) : nullptr;
  const auto* value = key != nullptr && key->comparison == Predicate::Operator::kEqual
                          ? std::get_if<AttributeValue>(&key->operand)
                          : nullptr;
  if (value != nullptr && !pending_.empty()) {
    const bool isOrdered = !request.sortDescriptors().empty();
    return pending_.withValue(Predicate::attributeIndex(*key, *entity_), *value,
                              isOrdered ? 0 : request.fetchLimit());
  }
  std::vector<ObjectState*> changed;
  for (const auto& [place, state] : pending_.inOrder()) {
    if (state->condition != Condition::kDeleted &&
        (!predicate || predicate->matches(*entity_, state->values))) {
      changed.push_back(state);
    }
  }
  return changed;
}

void EntityObjects::overlay(const FetchRequest& request, std::vector<ObjectState*>& rows) {
  std::vector<ObjectState*> changed = changedRecords(request);
  if (!changed.empty()) {
    const FetchOrder order(*entity_, request.sortDescriptors());
    std::sort(changed.begin(), changed.end(), order);
    std::vector<ObjectState*> merged;
    merged.reserve(rows.size() + changed.size());
    std::merge(rows.begin(), rows.end(), changed.begin(), changed.end(), std::back_inserter(merged),
               order);
    rows = std::move(merged);
  }
  if (request.fetchLimit() != 0 && rows.size() > request.fetchLimit()) {
    rows.resize(request.fetchLimit());
  }
}

RowChange EntityObjects::change(const ObjectState& state, const EntitySql& sql) {
  const RowChange::Kind kind = state.condition == Condition::kInserted  ? RowChange::Kind::kInsert
                               : state.condition == Condition::kUpdated ? RowChange::Kind::kUpdate
                                                                        : RowChange::Kind::kDelete;
  return {kind, &sql, state.rowId, state.version, &state.values};
}

void EntityObjects::saved(ObjectState& state, const RowChange& change) {
  if (change.kind == RowChange::Kind::kDelete) {
    byRowId_.erase(state.rowId);
    state.condition = Condition::kGone;
    return;
  }
  if (change.kind == RowChange::Kind::kInsert) {
    try {
      byRowId_.emplace(change.rowId, &state);
    } catch (const std::bad_alloc&) {
      // Saved is saved. A later fetch takes the row for another record.
    }
  }
  state.rowId = change.rowId;
  state.version = change.version;
  state.condition = Condition::kUnchanged;
}

void EntityObjects::noteSave() {
  pending_.clear();
  ++saves_;
}

}  // namespace velto
