// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <string>
#include <string_view>

#include "alerts/Bundle.h"

namespace velto {

/// What people who read one language call a bundle and its kinds of alerts: the same as
/// AlertBundle says, but without reading the bundle's other texts and languages, for who wants
/// nothing else. Constant once it is made; any thread.
class BundleNames {
 public:
  BundleNames(const Bundle& bundle, std::string key, std::string_view reader);

  /// The key where the bundle has no name.
  const std::string& name() const { return name_; }
  /// The kind itself where it has none.
  std::string nameOfType(const std::string& type) const;
  /// Those that have a name, by kind.
  const std::map<std::string, std::string, std::less<>>& types() const { return types_; }

 private:
  std::string name_;
  std::map<std::string, std::string, std::less<>> types_;
};

}  // namespace velto
