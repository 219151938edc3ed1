// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "platform/persistence/ManagedObject.h"
#include "store/EntityAttribute.h"

namespace velto {

/// One global name/value setting; `name` is its key.
class ADAttribute : public ManagedObject {
 public:
  using ManagedObject::ManagedObject;

  static constexpr std::string_view kEntityName = "ADAttribute";
  /// As the model declares them; the accessors go by position.
  static constexpr std::array kAttributes = {
      EntityAttribute{"name", AttributeType::kString},
      EntityAttribute{"value", AttributeType::kString},
  };

  std::optional<std::string> name() const { return get<std::string>(0); }
  void setName(std::optional<std::string> value) { set(0, std::move(value)); }

  std::optional<std::string> value() const { return get<std::string>(1); }
  void setValue(std::optional<std::string> value) { set(1, std::move(value)); }
};

}  // namespace velto
