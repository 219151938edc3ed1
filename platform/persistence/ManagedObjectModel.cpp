// SPDX-License-Identifier: Apache-2.0
#include "platform/persistence/ManagedObjectModel.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <utility>

#include "platform/foundation/ProgramMistake.h"

namespace velto {

namespace {

std::string_view typeName(AttributeType type) {
  switch (type) {
    case AttributeType::kString:
      return "string";
    case AttributeType::kDate:
      return "date";
    case AttributeType::kData:
      return "data";
    case AttributeType::kBoolean:
      break;
  }
  return "boolean";
}

/// One line an entity, `name(attribute:type,...)`; names hold none of the separators.
std::string shape(const EntityDescription& entity) {
  std::string text = entity.name() + "(";
  for (const AttributeDescription& attribute : entity.attributes()) {
    text.append(attribute.name).append(":").append(typeName(attribute.type)).append(",");
  }
  return text + ")\n";
}

/// 64-bit FNV-1a.
std::uint64_t hash(std::string_view text) {
  std::uint64_t value = 0xcbf29ce484222325;
  for (const char character : text) {
    value = (value ^ static_cast<unsigned char>(character)) * 0x100000001b3;
  }
  return value;
}

}  // namespace

EntityDescription::EntityDescription(std::string name, std::vector<AttributeDescription> attributes,
                                     std::vector<IndexDescription> indexes)
    : name_(std::move(name)), attributes_(std::move(attributes)), indexes_(std::move(indexes)) {}

std::optional<std::size_t> EntityDescription::attributeIndex(std::string_view name) const {
  for (std::size_t index = 0; index < attributes_.size(); ++index) {
    if (attributes_[index].name == name) {
      return index;
    }
  }
  return std::nullopt;
}

std::size_t EntityDescription::requiredAttributeIndex(std::string_view name) const {
  const auto index = attributeIndex(name);
  if (!index) {
    programMistake(name_ + " has no attribute " + std::string(name));
  }
  return *index;
}

ManagedObjectModel::ManagedObjectModel(std::vector<EntityDescription> entities,
                                       std::uint8_t version)
    : entities_(std::move(entities)), version_(version) {}

const EntityDescription* ManagedObjectModel::entity(std::string_view name) const {
  const auto found = std::find_if(entities_.begin(), entities_.end(),
                                  [&](const auto& entity) { return entity.name() == name; });
  return found == entities_.end() ? nullptr : &*found;
}

std::string ManagedObjectModel::versionHash() const {
  std::vector<std::string> shapes;
  for (const EntityDescription& entity : entities_) {
    shapes.push_back(shape(entity));
  }
  std::sort(shapes.begin(), shapes.end());
  std::string text;
  for (const std::string& one : shapes) {
    text += one;
  }
  char digits[17];
  std::snprintf(digits, sizeof digits, "%016llx", static_cast<unsigned long long>(hash(text)));
  return digits;
}

}  // namespace velto
