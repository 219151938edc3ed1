// SPDX-License-Identifier: Apache-2.0
#include "alerts/AlertSequence.h"

#include "alerts/VLAlertJSON.h"
#include "platform/foundation/JSONText.h"

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

bool AlertSequence::appendElements(std::string& text, std::size_t length, ErrorSlot error) {
  while (true) {
    if (next_ == ready_.size() && appendFromSource(text, length, error)) return true;
    const VLAlert* const alert = current(error);
    if (alert == nullptr || text.size() >= length) return alert != nullptr;
    beginElement(text);
    appendJSON(text, *alert);
    advance();
  }
}

/// False when there is no text source, or it has nothing more.
bool AlertSequence::appendFromSource(std::string& text, std::size_t length, ErrorSlot error) {
  if (source_ == nullptr || textSource_ == nullptr) return false;
  std::optional<Error> failure;
  if (textSource_(text, length, &failure)) return true;
  source_ = nullptr;
  if (failure) replaceError(error, *std::move(failure));
  return false;
}

}  // namespace velto
