// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/persistence/AttributeValue.h"

namespace velto {

struct AttributeDescription {
  std::string name;
  AttributeType type;

  bool operator==(const AttributeDescription&) const = default;
};

/// An index of the store: of all records, or of those alone that have one attribute, or lack it.
struct IndexDescription {
  std::vector<std::string> keys;
  std::string present = {};  ///< the attribute that all its records have, or ""
  std::string absent = {};   ///< the attribute that they all lack, or ""

  bool operator==(const IndexDescription&) const = default;
};

/// One entity of a model: its name, its attributes in declaration order, and the indexes that
/// the store keeps of it.
class EntityDescription {
 public:
  EntityDescription(std::string name, std::vector<AttributeDescription> attributes,
                    std::vector<IndexDescription> indexes);

  const std::string& name() const { return name_; }
  const std::vector<AttributeDescription>& attributes() const { return attributes_; }
  const std::vector<IndexDescription>& indexes() const { return indexes_; }
  /// The position of the attribute in attributes(), or nothing when the entity has none of the
  /// name.
  std::optional<std::size_t> attributeIndex(std::string_view name) const;
  /// The same, where a name that the entity does not have is a mistake of the program: it ends the
  /// process.
  std::size_t requiredAttributeIndex(std::string_view name) const;

  bool operator==(const EntityDescription&) const = default;

 private:
  const std::string name_;
  const std::vector<AttributeDescription> attributes_;
  const std::vector<IndexDescription> indexes_;
};

/// The entities that a store holds. Immutable once made, so any thread may read it.
///
/// A model file is a property list (`*.model`):
///     { Version = 1; Entities = ( { Name = X; Attributes = ( { Name = a; Type = string; }, ... );
///                      Indexes = ( (a), (b, c), { Keys = (b); Present = a; },
///                                  { Keys = (c); Absent = a; } ); }, ... ); }
/// Types: string, date, data, boolean. Names are ASCII letters, digits and "_", and begin with a
/// letter: they become names of tables and columns.
class ManagedObjectModel {
 public:
  /// Versions begin with 1, and grow to 255 with what the entities have in them.
  explicit ManagedObjectModel(std::vector<EntityDescription> entities, std::uint8_t version = 1);

  /// The merge of all model files in the resource directory: nothing when there is none, when one
  /// cannot be read or is malformed, or when two define an entity of one name differently.
  static std::unique_ptr<const ManagedObjectModel> mergedModelFromDirectory(
      const std::string& resourceDirectory);

  /// The model that one file's bytes hold, or nothing.
  static std::unique_ptr<const ManagedObjectModel> modelFromData(const Data& data);

  ManagedObjectModel(const ManagedObjectModel&) = delete;
  ManagedObjectModel& operator=(const ManagedObjectModel&) = delete;

  const std::vector<EntityDescription>& entities() const { return entities_; }
  /// The entity, or null when the model has none of the name.
  const EntityDescription* entity(std::string_view name) const;

  std::uint8_t version() const { return version_; }

  /// A hash of everything that shapes the store's file (entities, attributes, types; not the
  /// indexes). Equal models have equal hashes, whatever files they came from.
  std::string versionHash() const;

 private:
  const std::vector<EntityDescription> entities_;
  const std::uint8_t version_;
};

}  // namespace velto
