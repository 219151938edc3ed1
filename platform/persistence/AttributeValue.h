// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <variant>

#include "platform/foundation/Data.h"
#include "platform/foundation/Date.h"

namespace velto {

/// The types an attribute of an entity can have.
enum class AttributeType { kString, kDate, kData, kBoolean };

/// The value of one attribute of one object; std::monostate is absent. Any attribute may be absent.
using AttributeValue = std::variant<std::monostate, std::string, Date, Data, bool>;

inline bool isOfType(const AttributeValue& value, AttributeType type) {
  switch (type) {
    case AttributeType::kString:
      return std::holds_alternative<std::string>(value);
    case AttributeType::kDate:
      return std::holds_alternative<Date>(value);
    case AttributeType::kData:
      return std::holds_alternative<Data>(value);
    case AttributeType::kBoolean:
      break;
  }
  return std::holds_alternative<bool>(value);
}

}  // namespace velto
