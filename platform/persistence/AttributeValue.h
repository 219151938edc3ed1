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

}  // namespace velto
