// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

#include "platform/persistence/AttributeValue.h"

namespace velto {

/// One attribute of an entity, as its class expects the model to declare it.
struct EntityAttribute {
  std::string_view name;
  AttributeType type;
};

}  // namespace velto
