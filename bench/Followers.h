// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <sys/types.h>

#include "platform/foundation/FileDescriptor.h"

namespace velto::bench {

/// Followers of all changes, in a process of their own with one thread, which take what they are
/// told as it comes. Made while this process has no other thread.
class Followers {
 public:
  /// Returns when all of them follow.
  Followers(const std::string& socketPath, std::size_t count);
  ~Followers();
  Followers(const Followers&) = delete;
  Followers& operator=(const Followers&) = delete;

  /// What one of them has been told since the last time.
  struct Told {
    std::size_t added = 0;
    std::size_t lost = 0;
  };
  Told told();

 private:
  FileDescriptor answers_;
  pid_t process_ = -1;
};

}  // namespace velto::bench
