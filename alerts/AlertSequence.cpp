// SPDX-License-Identifier: Apache-2.0
#include "alerts/AlertSequence.h"

namespace velto {

const VLAlert* AlertSequence::current(ErrorSlot error) {
  while (next_ == ready_.size()) {
    if (source_ != nullptr) {
      std::optional<Error> failure;
      ready_ = source_(&failure);
      if (failure || ready_.empty()) {
        source_ = nullptr;
      }
      if (failure) {
        replaceError(error, *std::move(failure));
      }
    } else if (!appended_.empty()) {
      ready_ = std::exchange(appended_, {});
    } else {
      return nullptr;
    }
    next_ = 0;
  }
  return &ready_[next_];
}

}  // namespace velto
