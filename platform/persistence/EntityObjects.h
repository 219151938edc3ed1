// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <unordered_map>
#include <vector>

#include "platform/persistence/FetchRequest.h"
#include "platform/persistence/ManagedObjectModel.h"
#include "platform/persistence/ObjectState.h"
#include "platform/persistence/PendingObjects.h"

namespace velto {

class Statement;
struct EntitySql;
struct RowChange;

/// The records of one entity that a context has met, one state for each row, and which of them have
/// pending changes. Used on the context's thread only.
class EntityObjects {
 public:
  /// Of a row of the entity's SELECT, before the attributes: its id and version.
  static constexpr int kColumnsBefore = 2;

  /// Null where no model is known: records can be made then, and nothing else.
  explicit EntityObjects(const EntityDescription* entity) : entity_(entity) {}
  EntityObjects(const EntityObjects&) = delete;
  EntityObjects& operator=(const EntityObjects&) = delete;

  const EntityDescription* entity() const { return entity_; }
  const PendingObjects& pending() const { return pending_; }

  ObjectState& insert();
  const AttributeValue& value(const ObjectState& state, std::size_t index) const;
  void setValue(ObjectState& state, std::size_t index, AttributeValue value);
  void remove(ObjectState& state);

  /// The record of a row of the entity's SELECT: with the row's values, or with those that it was
  /// first read with since the last save. Null when the record has pending changes.
  ObjectState* read(const Statement& row);
  /// Fills the state with the values of a row of the entity's SELECT.
  void refresh(ObjectState& state, const Statement& row) const;
  /// Lays the pending changes over rows that `read` returned for the request.
  void overlay(const FetchRequest& request, std::vector<ObjectState*>& rows);

  /// What a save has to write for a pending record.
  static RowChange change(const ObjectState& state, const EntitySql& sql);
  /// Takes over the outcome of a successful save.
  void saved(ObjectState& state, const RowChange& change);
  /// Everything is saved: from now on, records are read anew.
  void noteSave();

 private:
  std::vector<ObjectState*> changedRecords(const FetchRequest& request);

  const EntityDescription* const entity_;
  std::deque<ObjectState> states_;
  std::unordered_map<std::int64_t, ObjectState*> byRowId_;  ///< those in the file
  PendingObjects pending_;
  std::uint64_t saves_ = 0;
};

}  // namespace velto
