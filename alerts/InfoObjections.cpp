// SPDX-License-Identifier: Apache-2.0
#include "alerts/InfoObjections.h"

#include <algorithm>

namespace velto {

std::vector<std::string> objectionsToInfo(const PropertyList::Dictionary& info) {
  std::vector<std::string> objections;
  for (const auto& [key, value] : info) {
    const bool isOurs =
        std::find(kOwnInfoKeys.begin(), kOwnInfoKeys.end(), key) != kOwnInfoKeys.end();
    if (key.starts_with("VL") && !isOurs) {
      objections.push_back(key + " means nothing; there are VLAlertTypes and VLTextFormat");
    }
  }
  const PropertyList* types = valueForKey(info, "VLAlertTypes");
  if (types != nullptr && types->dictionary() == nullptr) {
    objections.emplace_back("VLAlertTypes is no dictionary, so there are no alert types");
  }
  return objections;
}

}  // namespace velto
