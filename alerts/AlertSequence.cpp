// SPDX-License-Identifier: Apache-2.0
#include "alerts/AlertSequence.h"

#include <string_view>

#include "alerts/VLAlertJSON.h"

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

bool AlertSequence::hasNext(ErrorSlot error) {
  return nextText_ < texts_.ends.size() || (next_ == ready_.size() && drawTexts(error)) ||
         current(error) != nullptr;
}

/// False when there is no text source, or it has nothing more.
bool AlertSequence::drawTexts(ErrorSlot error) {
  if (source_ == nullptr || textSource_ == nullptr) return false;
  std::optional<Error> failure;
  texts_ = textSource_(&failure);
  nextText_ = 0;
  if (failure || texts_.ends.empty()) source_ = nullptr;
  if (failure) replaceError(error, *std::move(failure));
  return !texts_.ends.empty();
}

void AlertSequence::appendNext(std::string& text) {
  if (nextText_ == texts_.ends.size()) {
    appendJSON(text, ready_[next_++]);
    return;
  }
  const std::size_t begin = nextText_ == 0 ? 0 : texts_.ends[nextText_ - 1];
  text.append(texts_.text, begin, texts_.ends[nextText_++] - begin);
}

}  // namespace velto
