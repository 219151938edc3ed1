// SPDX-License-Identifier: Apache-2.0
// Whatever a model file holds, its names can be those of tables and columns, each once.

#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <string_view>

#include "platform/foundation/Data.h"
#include "platform/persistence/ManagedObjectModel.h"

namespace {

void require(bool holds) {
  if (!holds) __builtin_trap();
}

/// A name that needs no quoting, and that no other differs from in case alone.
void requireName(const std::string& name, std::set<std::string>& seen) {
  std::string lower;
  for (const char c : name) {
    const bool isLetter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
    require(isLetter || (!lower.empty() && ((c >= '0' && c <= '9') || c == '_')));
    lower += c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  }
  require(!lower.empty() && seen.insert(lower).second);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto model = velto::ManagedObjectModel::modelFromData(
      velto::Data(std::string_view(reinterpret_cast<const char*>(data), size)));
  if (model == nullptr) return 0;
  std::set<std::string> entities;
  for (const velto::EntityDescription& entity : model->entities()) {
    requireName(entity.name(), entities);
    std::set<std::string> attributes;
    for (const auto& attribute : entity.attributes())
      requireName(attribute.name, attributes);
    const auto isAttribute = [&entity](const std::string& name) {
      return entity.attributeIndex(name).has_value();
    };
    for (const velto::IndexDescription& index : entity.indexes()) {
      for (const std::string& key : index.keys)
        require(isAttribute(key));
      require(index.present.empty() || isAttribute(index.present));
      require(index.absent.empty() || isAttribute(index.absent));
    }
  }
  require(!model->versionHash().empty());
  return 0;
}
