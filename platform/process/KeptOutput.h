// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>

#include "platform/foundation/FileDescriptor.h"

namespace velto {

/// A pipe for what a program writes. The beginning is kept; the rest is read, so that the program
/// is not held up, and only counted. A value that moves; one thread at a time.
class KeptOutput {
 public:
  /// So many bytes are kept.
  static constexpr std::size_t kMaximumKept = 65536;

  /// Makes the pipe. Without one, with errno set, the object is not open.
  KeptOutput();

  bool isOpen() const { return reader_.isOpen(); }
  /// The end to hand to the program, until `closeWriter`.
  int writer() const { return writer_.get(); }
  void closeWriter() { writer_ = FileDescriptor(); }

  /// Returns a descriptor that is readable when there is something to read; -1 after its end.
  int reader() const { return reader_.get(); }
  /// Reads what there is, without waiting and at most some 64 KiB at once, so that a writer without
  /// end holds up nobody.
  void readSome();

  const std::string& text() const { return text_; }
  /// How many bytes came after those that are kept.
  std::size_t dropped() const { return dropped_; }

 private:
  void take(const char* bytes, std::size_t count);

  FileDescriptor reader_;
  FileDescriptor writer_;
  std::string text_;
  std::size_t dropped_ = 0;
};

}  // namespace velto
