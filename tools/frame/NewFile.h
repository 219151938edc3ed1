// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <sys/types.h>

#include "platform/foundation/FileDescriptor.h"

namespace velto {

/// A file that is there as a whole, and on disk, or not at all: it is written under another name
/// beside its own, which goes away when this object does before `finish`. Throws a Failure that
/// names the file when something cannot be done. One thread.
class NewFile {
 public:
  enum class Existing { kKept, kReplaced };

  /// With kKept, a file that is there already is a Failure.
  NewFile(std::string path, mode_t mode, Existing existing);
  ~NewFile();
  NewFile(const NewFile&) = delete;
  NewFile& operator=(const NewFile&) = delete;

  void write(std::string_view bytes);
  /// Where it is until it is finished, for others to write to.
  const std::string& draftPath() const { return draft_; }
  void finish();

 private:
  [[noreturn]] void fail(int code) const;

  const std::string path_;
  const Existing existing_;
  std::string draft_;
  FileDescriptor file_;
};

}  // namespace velto
