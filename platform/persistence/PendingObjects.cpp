// SPDX-License-Identifier: Apache-2.0
#include "platform/persistence/PendingObjects.h"

#include <utility>

namespace velto {

bool PendingObjects::ByValue::operator()(const ObjectState* left, const ObjectState* right) const {
  const AttributeValue& leftValue = left->values[attribute];
  const AttributeValue& rightValue = right->values[attribute];
  return leftValue != rightValue ? leftValue < rightValue : left->rowId < right->rowId;
}

bool PendingObjects::ByValue::operator()(const ObjectState* left, const Probe& right) const {
  return left->values[attribute] < right.value;
}

bool PendingObjects::ByValue::operator()(const Probe& left, const ObjectState* right) const {
  return left.value < right->values[attribute];
}

void PendingObjects::add(ObjectState& state) {
  state.pendingPlace = nextPlace_++;
  inOrder_.emplace_hint(inOrder_.end(), state.pendingPlace, &state);
  for (auto& [attribute, index] : indexes_) {
    index.insert(&state);
  }
}

void PendingObjects::remove(ObjectState& state) {
  noteDeletion(state);
  inOrder_.erase(state.pendingPlace);
}

void PendingObjects::noteDeletion(ObjectState& state) {
  for (auto& [attribute, index] : indexes_) {
    index.erase(&state);
  }
}

void PendingObjects::setValue(ObjectState& state, std::size_t attribute, AttributeValue value) {
  const auto index = indexes_.find(attribute);
  if (index != indexes_.end()) {
    index->second.erase(&state);
  }
  state.values[attribute] = std::move(value);
  if (index != indexes_.end()) {
    index->second.insert(&state);
  }
}

void PendingObjects::clear() {
  inOrder_.clear();
  indexes_.clear();
}

std::vector<ObjectState*> PendingObjects::withValue(std::size_t attribute,
                                                    const AttributeValue& value,
                                                    std::size_t limit) {
  const Index& index = indexOf(attribute);
  const auto end = index.upper_bound(Probe{value});
  std::vector<ObjectState*> found;
  for (auto one = index.lower_bound(Probe{value});
       one != end && (limit == 0 || found.size() < limit); ++one) {
    found.push_back(*one);
  }
  return found;
}

/// Made when it is first asked for, and kept up from then on.
PendingObjects::Index& PendingObjects::indexOf(std::size_t attribute) {
  const auto [index, isNew] = indexes_.try_emplace(attribute, ByValue{attribute});
  if (isNew) {
    for (const auto& [place, state] : inOrder_) {
      if (state->condition != ObjectState::Condition::kDeleted) {
        index->second.insert(state);
      }
    }
  }
  return index->second;
}

}  // namespace velto
