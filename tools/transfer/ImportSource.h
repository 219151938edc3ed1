// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdio>
#include <functional>
#include <memory>
#include <string>

namespace velto {

/// The lines of an export, which can be read twice: those of a file, or of standard input, which is
/// put aside in a file without a name while it is read first. Throws a Failure that names the file
/// when it cannot be read. One thread.
class ImportSource {
 public:
  /// Empty, or "-": standard input.
  explicit ImportSource(const std::string& path);

  /// Calls `take` with each line that is not blank, and its number from 1 on. A line that is longer
  /// than any that could be imported is cut, so that memory stays bounded.
  void forEachLine(const std::function<void(const std::string& line, std::size_t number)>& take);

 private:
  using Stream = std::unique_ptr<FILE, int (*)(FILE*)>;

  void keepInput();
  [[noreturn]] void fail(int code) const;

  const std::string name_;  ///< for people
  Stream stream_;
};

}  // namespace velto
