// SPDX-License-Identifier: Apache-2.0
#include "alerts/AlertSequence.h"

namespace velto {

const VLAlert* AlertSequence::current(ErrorSlot error) {
  while (next_ == ready_.size()) {
    if (source_ != nullptr) {
      ready_ = source_(error);
      if (ready_.empty()) {
        source_ = nullptr;
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
