// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "platform/foundation/Data.h"
#include "store/ADAlertStore.h"

namespace velto {

/// What people call the devices behind push tokens. A value; any thread may use its own copy.
class DeviceNames {
 public:
  /// Reads the names from the store, where somebody is to be told of something.
  DeviceNames(ADAlertStore& store, const std::map<std::string, std::vector<Data>>& recipients);

  /// Returns the names of the devices as one text; of one without a name its identifier, and of one
  /// that the store does not tell of "unknown". A token itself is a secret.
  std::string of(const std::vector<Data>& tokens) const;

 private:
  std::map<std::string, std::string, std::less<>> names_;  ///< by the bytes of the token
};

}  // namespace velto
