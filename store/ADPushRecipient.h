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

/// One push recipient; `guid` and `token` are its keys.
class ADPushRecipient : public ManagedObject {
 public:
  using ManagedObject::ManagedObject;

  static constexpr std::string_view kEntityName = "ADPushRecipient";
  /// As the model declares them; the accessors go by position.
  static constexpr std::array kAttributes = {
      EntityAttribute{"enabled", AttributeType::kBoolean},
      EntityAttribute{"guid", AttributeType::kString},
      EntityAttribute{"localization", AttributeType::kString},
      EntityAttribute{"token", AttributeType::kData},
      EntityAttribute{"name", AttributeType::kString},
  };

  std::optional<bool> enabled() const { return get<bool>(0); }
  void setEnabled(std::optional<bool> value) { set(0, std::move(value)); }

  std::optional<std::string> guid() const { return get<std::string>(1); }
  void setGuid(std::optional<std::string> value) { set(1, std::move(value)); }

  std::optional<std::string> localization() const { return get<std::string>(2); }
  void setLocalization(std::optional<std::string> value) { set(2, std::move(value)); }

  std::optional<Data> token() const { return get<Data>(3); }
  void setToken(std::optional<Data> value) { set(3, std::move(value)); }

  std::optional<std::string> name() const { return get<std::string>(4); }
  void setName(std::optional<std::string> value) { set(4, std::move(value)); }
};

}  // namespace velto
