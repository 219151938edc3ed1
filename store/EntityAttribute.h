// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstddef>
#include <string_view>

#include "platform/persistence/AttributeValue.h"

namespace velto {

/// One attribute of an entity, as its class expects the model to declare it.
struct EntityAttribute {
  std::string_view name;
  AttributeType type;
};

/// The position of the attribute of this name, which the class must have.
template <typename Object>
consteval std::size_t positionOf(std::string_view name) {
  const auto& all = Object::kAttributes;
  const auto found =
      std::find_if(all.begin(), all.end(), [name](const auto& each) { return each.name == name; });
  if (found == all.end()) throw "there is no such attribute";
  return static_cast<std::size_t>(found - all.begin());
}

}  // namespace velto
