// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>

namespace velto {

/// How much memory the values of one call may take. Who makes a value takes what it costs, before
/// or right after; once there has not been enough, there is nothing any more. One thread at a time.
class MemoryBudget {
 public:
  explicit MemoryBudget(std::size_t bytes) : left_(bytes) {}

  /// False, and so for good, when there is not so much left.
  bool take(std::size_t bytes) {
    isExceeded_ = isExceeded_ || bytes > left_;
    if (!isExceeded_) left_ -= bytes;
    return !isExceeded_;
  }
  bool isExceeded() const { return isExceeded_; }

  std::size_t left() const { return left_; }
  /// What was taken since so much was left is free again.
  void giveBackTo(std::size_t left) { left_ = left; }

 private:
  std::size_t left_;
  bool isExceeded_ = false;
};

/// What a string has allocated.
inline std::size_t heapSize(const std::string& string) {
  constexpr std::size_t kAllocation = 16;  // of the allocator's own, and its rounding
  static const std::size_t kInPlace = std::string().capacity();
  return string.capacity() <= kInPlace ? 0 : string.capacity() + kAllocation;
}

}  // namespace velto
