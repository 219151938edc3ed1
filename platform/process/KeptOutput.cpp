// SPDX-License-Identifier: Apache-2.0
#include "platform/process/KeptOutput.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <new>
#include <unistd.h>

namespace velto {
namespace {

/// Together they are what a pipe holds.
constexpr std::size_t kReadSize = 4096;
constexpr int kReadsAtOnce = 16;

}  // namespace

KeptOutput::KeptOutput() {
  std::array<int, 2> ends;
  if (::pipe2(ends.data(), O_CLOEXEC) == 0) {
    reader_ = FileDescriptor(ends[0]);
    writer_ = FileDescriptor(ends[1]);
    ::fcntl(reader_.get(), F_SETFL, O_NONBLOCK);
  }
}

void KeptOutput::readSome() {
  std::array<char, kReadSize> buffer;
  for (int time = 0; time < kReadsAtOnce && isOpen(); ++time) {
    const ssize_t count = ::read(reader_.get(), buffer.data(), buffer.size());
    if (count > 0) {
      take(buffer.data(), static_cast<std::size_t>(count));
    } else if (count == 0 || errno != EINTR) {
      if (count == 0 || errno != EAGAIN) {
        reader_ = FileDescriptor();
      }
      return;
    }
  }
}

void KeptOutput::take(const char* bytes, std::size_t count) {
  std::size_t kept = std::min(count, kMaximumKept - text_.size());
  try {
    text_.append(bytes, kept);
  } catch (const std::bad_alloc&) {
    kept = 0;  // a program's end is waited for whatever it says
  }
  dropped_ += count - kept;
}

}  // namespace velto
