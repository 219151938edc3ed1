// SPDX-License-Identifier: Apache-2.0
#include "platform/foundation/Error.h"

#include <system_error>
#include <utility>

namespace velto {

std::string Error::localizedDescription() const {
  const std::string* description = stringForKey(userInfo, NSLocalizedDescriptionKey);
  return description != nullptr ? *description : domain + " error " + std::to_string(code);
}

Error makeError(std::string_view domain, std::int64_t code, std::string_view description) {
  return {std::string(domain), code, {{std::string(NSLocalizedDescriptionKey), description}}};
}

Error outOfMemory() noexcept {
  return {"VeltoMemory", 1, {}};
}

Error makePOSIXError(int code, const std::string& what) {
  return makeError(kPOSIXErrorDomain, code, what + ": " + std::generic_category().message(code));
}

void setIfEmpty(ErrorSlot slot, Error error) {
  if (slot != nullptr && !slot->has_value()) {
    *slot = std::move(error);
  }
}

void replaceError(ErrorSlot slot, Error error) {
  if (slot != nullptr) {
    *slot = std::move(error);
  }
}

}  // namespace velto
