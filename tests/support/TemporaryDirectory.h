// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace velto {

/// A new empty directory that goes, with all that is in it, when this object does.
class TemporaryDirectory {
 public:
  TemporaryDirectory();
  ~TemporaryDirectory();
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

  const std::filesystem::path& path() const { return path_; }
  /// Writes a file below the directory, with the folders that lead to it; gives its full path.
  std::filesystem::path write(const std::filesystem::path& name, std::string_view content) const;

 private:
  std::filesystem::path path_;
};

/// The whole content of a file; fails the test when it cannot be read.
std::string readFile(const std::filesystem::path& path);

}  // namespace velto
