// SPDX-License-Identifier: Apache-2.0
// Reading models from files.

#include <algorithm>
#include <array>
#include <charconv>
#include <filesystem>
#include <set>
#include <type_traits>
#include <utility>

#include "platform/foundation/FileManager.h"
#include "platform/foundation/RegularFile.h"
#include "platform/persistence/ManagedObjectModel.h"
#include "platform/propertylist/PropertyListSerialization.h"

namespace velto {

namespace {

constexpr std::size_t kMaximumModelSize = 1 << 20;

constexpr std::array<std::pair<std::string_view, AttributeType>, 4> kTypes{{
    {"string", AttributeType::kString},
    {"date", AttributeType::kDate},
    {"data", AttributeType::kData},
    {"boolean", AttributeType::kBoolean},
}};

bool isLetter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool isNameCharacter(char c) {
  return isLetter(c) || (c >= '0' && c <= '9') || c == '_';
}

/// The name under "Name", fit for a table or a column.
std::optional<std::string> readName(const PropertyList::Dictionary& dictionary) {
  const std::string* name = stringForKey(dictionary, "Name");
  if (name == nullptr || name->empty() || !isLetter(name->front()) ||
      !std::all_of(name->begin(), name->end(), isNameCharacter)) {
    return std::nullopt;
  }
  return *name;
}

/// Whether the names differ in more than case, which tables and columns are not told apart by.
template <typename Named, typename NameOf>
bool namesDiffer(const std::vector<Named>& all, NameOf nameOf) {
  std::set<std::string> seen;
  return std::all_of(all.begin(), all.end(), [&](const Named& one) {
    std::string name = nameOf(one);
    for (char& c : name) {
      c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    }
    return seen.insert(std::move(name)).second;
  });
}

/// The array under `key` with `read` applied to each element; nothing when there is no such array
/// or an element is malformed.
template <typename Read,
          typename Element = typename std::invoke_result_t<Read, const PropertyList&>::value_type>
std::optional<std::vector<Element>> readArray(const PropertyList::Dictionary& dictionary,
                                              std::string_view key, Read read) {
  const PropertyList* value = valueForKey(dictionary, key);
  if (value == nullptr || value->array() == nullptr) {
    return std::nullopt;
  }
  std::vector<Element> elements;
  for (const PropertyList& one : *value->array()) {
    std::optional<Element> element = read(one);
    if (!element) {
      return std::nullopt;
    }
    elements.push_back(*std::move(element));
  }
  return elements;
}

std::optional<AttributeDescription> readAttribute(const PropertyList& value) {
  const PropertyList::Dictionary* dictionary = value.dictionary();
  if (dictionary == nullptr) {
    return std::nullopt;
  }
  std::optional<std::string> name = readName(*dictionary);
  const std::string* typeName = stringForKey(*dictionary, "Type");
  const auto type = std::find_if(kTypes.begin(), kTypes.end(), [&](const auto& known) {
    return typeName != nullptr && known.first == *typeName;
  });
  if (!name || type == kTypes.end()) {
    return std::nullopt;
  }
  return AttributeDescription{*std::move(name), type->second};
}

std::optional<std::string> readText(const PropertyList& value) {
  return value.string() == nullptr ? std::nullopt : std::optional(*value.string());
}

/// The text under the key, or "".
std::string textForKey(const PropertyList::Dictionary& dictionary, std::string_view key) {
  const std::string* text = stringForKey(dictionary, key);
  return text == nullptr ? std::string() : *text;
}

/// A list of keys stands for the index of all records.
std::optional<IndexDescription> readIndex(const PropertyList& value) {
  const PropertyList::Dictionary whole{{"Keys", value}};
  const auto& dictionary = value.dictionary() == nullptr ? whole : *value.dictionary();
  auto keys = readArray(dictionary, "Keys", readText);
  if (!keys || keys->empty()) {
    return std::nullopt;
  }
  return IndexDescription{*std::move(keys), textForKey(dictionary, "Present"),
                          textForKey(dictionary, "Absent")};
}

bool indexesKnownAttributes(const EntityDescription& entity) {
  const auto known = [&](const std::string& key) { return entity.attributeIndex(key).has_value(); };
  const auto knownOrNone = [&](const std::string& key) { return key.empty() || known(key); };
  return std::all_of(entity.indexes().begin(), entity.indexes().end(), [&](const auto& index) {
    return std::all_of(index.keys.begin(), index.keys.end(), known) && knownOrNone(index.present) &&
           knownOrNone(index.absent);
  });
}

std::optional<EntityDescription> readEntity(const PropertyList& value) {
  const PropertyList::Dictionary* dictionary = value.dictionary();
  if (dictionary == nullptr) {
    return std::nullopt;
  }
  std::optional<std::string> name = readName(*dictionary);
  auto attributes = readArray(*dictionary, "Attributes", readAttribute);
  auto indexes = readArray(*dictionary, "Indexes", readIndex);
  if (!name || !attributes || attributes->empty() || !indexes ||
      !namesDiffer(*attributes, [](const auto& attribute) { return attribute.name; })) {
    return std::nullopt;
  }
  EntityDescription entity(*std::move(name), *std::move(attributes), *std::move(indexes));
  return indexesKnownAttributes(entity) ? std::optional(std::move(entity)) : std::nullopt;
}

/// The model files in the directory, in name order; nothing when it cannot be listed.
std::optional<std::set<std::filesystem::path>> modelFiles(const std::string& directory) {
  const auto names = FileManager::system().contentsOfDirectory(directory, nullptr);
  if (!names) return std::nullopt;
  std::set<std::filesystem::path> files;
  for (const std::string& name : *names) {
    const auto path = std::filesystem::path(directory) / name;
    if (path.extension() == ".model") files.insert(path);
  }
  return files;
}

/// Adds the entities that `merged` lacks; false when one of them is there in another form.
bool merge(const ManagedObjectModel& model, std::vector<EntityDescription>& merged) {
  for (const EntityDescription& entity : model.entities()) {
    const auto same = std::find_if(merged.begin(), merged.end(), [&](const auto& other) {
      return other.name() == entity.name();
    });
    if (same == merged.end()) {
      merged.push_back(entity);
    } else if (!(*same == entity)) {
      return false;
    }
  }
  return true;
}

/// 1 where nothing is said.
std::optional<std::uint8_t> readVersion(const PropertyList::Dictionary& dictionary) {
  const std::string* text = stringForKey(dictionary, "Version");
  std::uint8_t version = 1;
  if (text != nullptr) {
    const char* const end = text->data() + text->size();
    const auto read = std::from_chars(text->data(), end, version);
    if (read.ec != std::errc() || read.ptr != end || version == 0) {
      return std::nullopt;
    }
  }
  return version;
}

bool entityNamesDiffer(const std::vector<EntityDescription>& entities) {
  return namesDiffer(entities, [](const auto& entity) { return entity.name(); });
}

}  // namespace

std::unique_ptr<const ManagedObjectModel> ManagedObjectModel::modelFromData(const Data& data) {
  const auto root = PropertyListSerialization::propertyList(data, nullptr);
  if (!root || root->dictionary() == nullptr) {
    return nullptr;
  }
  auto entities = readArray(*root->dictionary(), "Entities", readEntity);
  const auto version = readVersion(*root->dictionary());
  if (!entities || !entityNamesDiffer(*entities) || !version) {
    return nullptr;
  }
  return std::make_unique<const ManagedObjectModel>(*std::move(entities), *version);
}

std::unique_ptr<const ManagedObjectModel> ManagedObjectModel::mergedModelFromDirectory(
    const std::string& resourceDirectory) {
  const auto files = modelFiles(resourceDirectory);
  if (!files || files->empty()) {
    return nullptr;
  }
  std::vector<EntityDescription> merged;
  std::uint8_t version = 1;
  for (const std::filesystem::path& file : *files) {
    const auto content = contentsOfRegularFile(file, kMaximumModelSize, nullptr);
    const auto model = content ? modelFromData(Data(*content)) : nullptr;
    if (model == nullptr || !merge(*model, merged)) {
      return nullptr;
    }
    version = std::max(version, model->version());
  }
  if (!entityNamesDiffer(merged)) {
    return nullptr;
  }
  return std::make_unique<const ManagedObjectModel>(std::move(merged), version);
}

}  // namespace velto
