// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <fcntl.h>

#include "platform/foundation/FileDescriptor.h"

namespace velto {

/// Has the system begin to write what a file has got before anybody waits for it, so that the sync
/// that does wait finds less to do. A hint: nothing is on disk because of it, and what fails fails
/// in that sync. One thread at a time.
///
/// It has the file open, and closing any descriptor of a file gives up all locks of the process on
/// it (fcntl(2)): of a database file it must outlive this process's connections.
class EarlyWrites {
 public:
  EarlyWrites() = default;
  explicit EarlyWrites(const char* path)
      : file_(::open(path, O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NOFOLLOW)) {}

  void begin() const {
    if (file_.isOpen()) ::sync_file_range(file_.get(), 0, 0, SYNC_FILE_RANGE_WRITE);
  }

 private:
  FileDescriptor file_;
};

}  // namespace velto
