// SPDX-License-Identifier: Apache-2.0
#include "platform/connection/MessageBuffer.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

namespace velto {

void MessageBuffer::add(std::string_view bytes) {
  if (pending_.empty()) {
    pending_ = bytes;
    return;
  }
  keep();
  const std::size_t size = pending_.size();
  if (size + bytes.size() > capacity_) setCapacity(std::max(2 * size, size + bytes.size()));
  std::memcpy(kept_.get() + size, bytes.data(), bytes.size());
  pending_ = {kept_.get(), size + bytes.size()};
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
  if (pending_.empty()) {
    kept_.reset();
    capacity_ = 0;
    pending_ = {};
  } else if (pending_.data() != kept_.get()) {
    // New memory, since what is left of a long message would keep all of it.
    Bytes bytes = std::exchange(kept_, nullptr);
    setCapacity(pending_.size());
    std::memcpy(kept_.get(), pending_.data(), pending_.size());
    pending_ = {kept_.get(), pending_.size()};
  }
}

/// Keeps what is there, as far as it fits.
void MessageBuffer::setCapacity(std::size_t capacity) {
  auto* const bytes = static_cast<char*>(std::realloc(kept_.get(), capacity));
  if (bytes == nullptr) throw std::bad_alloc();
  static_cast<void>(kept_.release());
  kept_.reset(bytes);
  capacity_ = capacity;
}

}  // namespace velto
