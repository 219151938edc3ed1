// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <set>
#include <vector>

#include "platform/persistence/ObjectState.h"

namespace velto {

/// The records of one entity that have pending changes, in the order of their first change, and by
/// the values of those attributes that were asked for: a call that changes many records looks each
/// one up, and must not go through all the others for it. One thread at a time.
class PendingObjects {
 public:
  bool empty() const { return inOrder_.empty(); }
  const std::map<std::uint64_t, ObjectState*>& inOrder() const { return inOrder_; }

  void add(ObjectState& state);
  /// Forgets the record.
  void remove(ObjectState& state);
  /// The record is deleted: it is found by no value any more.
  void noteDeletion(ObjectState& state);
  /// Gives one of its attributes another value.
  void setValue(ObjectState& state, std::size_t attribute, AttributeValue value);
  void clear();

  /// Those that have this value and are not deleted, in the order of insertion, at most `limit` (0
  /// is no limit).
  std::vector<ObjectState*> withValue(std::size_t attribute, const AttributeValue& value,
                                      std::size_t limit);

 private:
  /// Before all records that have the value.
  struct Probe {
    const AttributeValue& value;
  };
  /// Orders by an attribute's value, and by insertion within one value.
  struct ByValue {
    using is_transparent = void;
    std::size_t attribute;
    bool operator()(const ObjectState* left, const ObjectState* right) const;
    bool operator()(const ObjectState* left, const Probe& right) const;
    bool operator()(const Probe& left, const ObjectState* right) const;
  };
  using Index = std::set<ObjectState*, ByValue>;

  Index& indexOf(std::size_t attribute);

  std::map<std::uint64_t, ObjectState*> inOrder_;
  std::uint64_t nextPlace_ = 0;
  std::map<std::size_t, Index> indexes_;  ///< by the attribute
};

}  // namespace velto
