// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "alerts/texts/BundleNames.h"

namespace velto {

/// What people who read one language call the bundles of this machine and their kinds of alerts.
/// Each bundle is read once, when it is first asked for; one that is not there, or cannot be read,
/// is called by its key. One thread.
class InstalledNames {
 public:
  /// `reader` is a language tag.
  InstalledNames(std::string directory, std::string reader)
      : directory_(std::move(directory)), reader_(std::move(reader)) {}

  /// A bundle's name for people, by its key.
  std::string ofBundle(const std::string& key);
  /// That of a kind of its alerts.
  std::string ofType(const std::string& key, const std::string& type);

 private:
  /// Null for a bundle that cannot be read.
  const BundleNames* find(const std::string& key);

  const std::string directory_;
  const std::string reader_;
  std::map<std::string, std::optional<BundleNames>> found_;
};

}  // namespace velto
