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

/// One posted alert. Its attributes dictionary is kept as a binary property list.
class ADAlert : public ManagedObject {
 public:
  using ManagedObject::ManagedObject;

  static constexpr std::string_view kEntityName = "ADAlert";
  /// As the model declares them; the accessors go by position.
  static constexpr std::array kAttributes = {
      EntityAttribute{"attributes", AttributeType::kData},
      EntityAttribute{"creationDate", AttributeType::kDate},
      EntityAttribute{"identifier", AttributeType::kString},
      EntityAttribute{"sentDate", AttributeType::kDate},
      EntityAttribute{"type", AttributeType::kString},
      EntityAttribute{"bundle", AttributeType::kString},
      EntityAttribute{"readDate", AttributeType::kDate},
      EntityAttribute{"resolvedDate", AttributeType::kDate},
  };

  /// Null when they are absent; valid until they change.
  const Data* attributes() const { return find<Data>(0); }
  void setAttributes(std::optional<Data> value) { set(0, std::move(value)); }

  std::optional<Date> creationDate() const { return get<Date>(1); }
  void setCreationDate(std::optional<Date> value) { set(1, std::move(value)); }

  // Texts are in place, valid until they change.
  std::optional<std::string_view> identifier() const { return text(2); }
  void setIdentifier(std::optional<std::string> value) { set(2, std::move(value)); }

  std::optional<Date> sentDate() const { return get<Date>(3); }
  void setSentDate(std::optional<Date> value) { set(3, std::move(value)); }

  std::optional<std::string_view> type() const { return text(4); }
  void setType(std::optional<std::string> value) { set(4, std::move(value)); }

  std::optional<std::string_view> bundle() const { return text(5); }
  void setBundle(std::optional<std::string> value) { set(5, std::move(value)); }

  std::optional<Date> readDate() const { return get<Date>(6); }
  void setReadDate(std::optional<Date> value) { set(6, std::move(value)); }

  std::optional<Date> resolvedDate() const { return get<Date>(7); }
  void setResolvedDate(std::optional<Date> value) { set(7, std::move(value)); }

 private:
  std::optional<std::string_view> text(std::size_t index) const {
    const auto* found = find<std::string>(index);
    return found == nullptr ? std::nullopt : std::optional<std::string_view>(*found);
  }
};

}  // namespace velto
