// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/foundation/Error.h"

namespace velto {

/// The file system as far as directories are listed. Any thread.
class FileManager {
 public:
  virtual ~FileManager() = default;

  /// The names of the entries of a directory, "." and ".." left out, in the order in which the file
  /// system gives them. Nothing, with an error that names the directory, when it cannot be read.
  virtual std::optional<std::vector<std::string>> contentsOfDirectory(const std::string& path,
                                                                      ErrorSlot error) const = 0;

  /// The machine's file system.
  static const FileManager& system();
};

}  // namespace velto
