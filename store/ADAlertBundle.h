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

/// One known alert bundle and its delivery switches; `bundle` is its key.
class ADAlertBundle : public ManagedObject {
 public:
  using ManagedObject::ManagedObject;

  static constexpr std::string_view kEntityName = "ADAlertBundle";
  /// As the model declares them; the accessors go by position.
  static constexpr std::array kAttributes = {
      EntityAttribute{"name", AttributeType::kString},
      EntityAttribute{"enabled", AttributeType::kBoolean},
      EntityAttribute{"pushEnabled", AttributeType::kBoolean},
      EntityAttribute{"mailEnabled", AttributeType::kBoolean},
      EntityAttribute{"bundle", AttributeType::kString},
  };

  std::optional<std::string> name() const { return get<std::string>(0); }
  void setName(std::optional<std::string> value) { set(0, std::move(value)); }

  std::optional<bool> enabled() const { return get<bool>(1); }
  void setEnabled(std::optional<bool> value) { set(1, std::move(value)); }

  std::optional<bool> pushEnabled() const { return get<bool>(2); }
  void setPushEnabled(std::optional<bool> value) { set(2, std::move(value)); }

  std::optional<bool> mailEnabled() const { return get<bool>(3); }
  void setMailEnabled(std::optional<bool> value) { set(3, std::move(value)); }

  std::optional<std::string> bundle() const { return get<std::string>(4); }
  void setBundle(std::optional<std::string> value) { set(4, std::move(value)); }
};

}  // namespace velto
