// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "platform/persistence/AttributeValue.h"

namespace velto {

struct ObjectState;  // owned by the context

/// One record in a context: a light handle, copied freely, that points to the state its context
/// keeps. Two handles to the same record of one context share that state. Valid as long as the
/// context; used on the context's thread only. Entities derive from it to give their attributes
/// names; a derived class adds no state.
class ManagedObject {
 public:
  explicit ManagedObject(ObjectState& state) : state_(&state) {}

  /// The value of the attribute at `index` in its entity's declaration order.
  const AttributeValue& value(std::size_t index) const;
  /// Changes the attribute in the context; the store sees it at the next save. A date that is not a
  /// number is taken for absent. A value of another type than the attribute's is a mistake of the
  /// program and ends the process.
  void setValue(std::size_t index, AttributeValue value);

  ObjectState& state() const { return *state_; }

  bool operator==(const ManagedObject&) const = default;

 protected:
  /// The attribute in place, or null when it is absent. Valid until it changes.
  template <typename T>
  const T* find(std::size_t index) const {
    return std::get_if<T>(&value(index));
  }
  /// The attribute as a `T`, or nothing when it is absent.
  template <typename T>
  std::optional<T> get(std::size_t index) const {
    const T* found = find<T>(index);
    return found == nullptr ? std::nullopt : std::optional<T>(*found);
  }
  template <typename T>
  void set(std::size_t index, std::optional<T> newValue) {
    setValue(index, newValue ? AttributeValue(std::move(*newValue)) : AttributeValue());
  }

 private:
  ObjectState* state_;
};

}  // namespace velto
