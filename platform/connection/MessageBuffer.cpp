// SPDX-License-Identifier: Apache-2.0
#include "platform/connection/MessageBuffer.h"

namespace velto {

void MessageBuffer::add(std::string_view bytes) {
  if (pending_.empty()) {
    pending_ = bytes;
    return;
  }
  keep();
  kept_.append(bytes);
  pending_ = kept_;
}

std::optional<std::string_view> MessageBuffer::next() {
  const std::size_t end = pending_.find('\0', scanned_);
  if (end == std::string_view::npos) {
    scanned_ = pending_.size();
    return std::nullopt;
  }
  const std::string_view message = pending_.substr(0, end);
  pending_.remove_prefix(end + 1);
  scanned_ = 0;
  return message;
}

void MessageBuffer::putBack(std::string_view message) {
  // It stands before the rest, with its NUL in between.
  pending_ = {message.data(), message.size() + 1 + pending_.size()};
}

void MessageBuffer::keep() {
  const bool isKept = pending_.data() == kept_.data() && pending_.size() == kept_.size();
  if (!isKept) {
    // Swapped, since an assignment would keep the memory of a long message.
    std::string(pending_).swap(kept_);
  }
  pending_ = kept_;
}

}  // namespace velto
