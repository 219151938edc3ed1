// SPDX-License-Identifier: Apache-2.0
#include "tools/bundlecheck/InstalledNames.h"

#include <utility>

#include "platform/foundation/Paths.h"
#include "platform/foundation/TrustedFile.h"

namespace velto {

std::string InstalledNames::ofBundle(const std::string& key) {
  const BundleNames* names = find(key);
  return names == nullptr ? key : names->name();
}

std::string InstalledNames::ofType(const std::string& key, const std::string& type) {
  const BundleNames* names = find(key);
  return names == nullptr ? type : names->nameOfType(type);
}

const BundleNames* InstalledNames::find(const std::string& key) {
  const auto [place, isNew] = found_.try_emplace(key);
  if (isNew && isFileName(key)) {
    const auto bundle = Bundle::bundleWithPath(directory_ + "/" + key + ".bundle", nullptr);
    if (bundle) place->second.emplace(*bundle, key, reader_);
  }
  return place->second ? &*place->second : nullptr;
}

}  // namespace velto
