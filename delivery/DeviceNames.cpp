// SPDX-License-Identifier: Apache-2.0
#include "delivery/DeviceNames.h"

namespace velto {

DeviceNames::DeviceNames(ADAlertStore& store,
                         const std::map<std::string, std::vector<Data>>& recipients) {
  if (recipients.empty()) {
    return;
  }
  // Without an answer the names are missing, and nothing else.
  for (const PushRecipient& device : store.getPushRecipients(nullptr)) {
    if (device.token) {
      const std::string name = device.name.value_or("");
      names_.emplace(device.token->view(), name.empty() ? device.guid.value_or("") : name);
    }
  }
}

std::string DeviceNames::of(const std::vector<Data>& tokens) const {
  std::string list;
  for (const Data& token : tokens) {
    const auto found = names_.find(token.view());
    list.append(list.empty() ? "" : ", ").append(found == names_.end() ? "unknown" : found->second);
  }
  return list;
}

}  // namespace velto
