// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <unistd.h>
#include <utility>

namespace velto {

/// Owns a file descriptor and closes it at the end of its life. A value that moves; one thread at a
/// time.
class FileDescriptor {
 public:
  FileDescriptor() = default;
  /// Takes over `descriptor`; a negative one stands for none.
  explicit FileDescriptor(int descriptor) : descriptor_(descriptor) {}
  ~FileDescriptor() { close(); }
  FileDescriptor(FileDescriptor&& other) noexcept : descriptor_(other.release()) {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept {
    if (this != &other) {
      close();
      descriptor_ = other.release();
    }
    return *this;
  }

  bool isOpen() const { return descriptor_ >= 0; }
  int get() const { return descriptor_; }
  /// Hands the descriptor over to the caller.
  int release() { return std::exchange(descriptor_, -1); }

 private:
  void close() {
    if (isOpen()) {
      ::close(descriptor_);
    }
  }

  int descriptor_ = -1;
};

}  // namespace velto
