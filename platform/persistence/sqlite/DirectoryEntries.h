// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>

#include "platform/foundation/Error.h"

namespace velto {

/// Changes the names in directories, and makes the changes last. A file's own sync is for what it
/// holds: its name is on the disk when the directory has been synced after the change, and until
/// then a power failure may undo the change. Each returns nothing, or why it could not be done,
/// with the errno as code. Any thread.
class DirectoryEntries {
 public:
  virtual ~DirectoryEntries() = default;

  /// Takes the place of what is at `to`, at one moment.
  virtual std::optional<Error> rename(const std::string& from, const std::string& to) const = 0;
  virtual std::optional<Error> remove(const std::string& file) const = 0;
  /// Makes all changes so far last.
  virtual std::optional<Error> sync(const std::string& directory) const = 0;

  /// The machine's file system.
  static const DirectoryEntries& system();
};

}  // namespace velto
