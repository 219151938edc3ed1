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

/// One mail recipient; `address` is its key.
class ADMailRecipient : public ManagedObject {
 public:
  using ManagedObject::ManagedObject;

  static constexpr std::string_view kEntityName = "ADMailRecipient";
  /// As the model declares them; the accessors go by position.
  static constexpr std::array kAttributes = {
      EntityAttribute{"address", AttributeType::kString},
      EntityAttribute{"localization", AttributeType::kString},
      EntityAttribute{"enabled", AttributeType::kBoolean},
  };

  std::optional<std::string> address() const { return get<std::string>(0); }
  void setAddress(std::optional<std::string> value) { set(0, std::move(value)); }

  std::optional<std::string> localization() const { return get<std::string>(1); }
  void setLocalization(std::optional<std::string> value) { set(1, std::move(value)); }

  std::optional<bool> enabled() const { return get<bool>(2); }
  void setEnabled(std::optional<bool> value) { set(2, std::move(value)); }
};

}  // namespace velto
