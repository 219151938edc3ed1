#pragma once

#include <unistd.h>
#include <utility>

namespace velto {

/// Owns a file descriptor, or none (-1), and closes it in the end. One thread at a time.
class FileDescriptor {
 public:
  FileDescriptor() = default;
  explicit FileDescriptor(int descriptor) : descriptor_(descriptor) {}
  FileDescriptor(FileDescriptor&& other) noexcept : descriptor_(other.release()) {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept {
    std::swap(descriptor_, other.descriptor_);
    return *this;
  }
  ~FileDescriptor() {
    if (descriptor_ >= 0) ::close(descriptor_);
  }

  bool isOpen() const { return descriptor_ >= 0; }
  int get() const { return descriptor_; }
  int release() { return std::exchange(descriptor_, -1); }

 private:
  int descriptor_ = -1;
};

}  // namespace velto
