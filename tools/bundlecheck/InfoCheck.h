// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "alerts/Bundle.h"
#include "tools/bundlecheck/Finding.h"

namespace velto {

/// What Info.plist declares.
struct DeclaredTypes {
  std::vector<std::string> types;
  std::vector<std::string> actions;  ///< that any type offers, each once
};

DeclaredTypes declaredTypes(const Bundle& bundle);

/// What is wrong with the values of the bundle's Info.plist, which is shown as `file`.
Findings checkInfo(const Bundle& bundle, const std::vector<std::string>& languages,
                   const std::string& file);

}  // namespace velto
