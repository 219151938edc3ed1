// SPDX-License-Identifier: Apache-2.0
#include "platform/persistence/sqlite/DirectoryEntries.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <string_view>
#include <system_error>
#include <unistd.h>

#include "platform/foundation/FileDescriptor.h"
#include "platform/foundation/FileManager.h"

namespace velto {
namespace {

Error failure(std::string_view what, const std::string& path, int errorNumber) {
  return makeError(kPOSIXErrorDomain, errorNumber,
                   "Cannot " + std::string(what) + " " + path + ": " +
                       std::generic_category().message(errorNumber));
}

class SystemDirectoryEntries : public DirectoryEntries {
 public:
  std::optional<Error> rename(const std::string& from, const std::string& to) const override {
    return ::rename(from.c_str(), to.c_str()) == 0 ? std::nullopt
                                                   : std::optional(failure("rename", from, errno));
  }

  std::optional<Error> remove(const std::string& file) const override {
    return ::unlink(file.c_str()) == 0 ? std::nullopt
                                       : std::optional(failure("remove", file, errno));
  }

  std::optional<Error> sync(const std::string& directory) const override {
    const FileDescriptor opened(::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    // A file system that knows no sync of a directory answers EINVAL. There is no more to be had.
    if (opened.isOpen() && (::fsync(opened.get()) == 0 || errno == EINVAL)) {
      return std::nullopt;
    }
    return failure("sync the directory", directory, errno);
  }
};

}  // namespace

const DirectoryEntries& DirectoryEntries::system() {
  static const SystemDirectoryEntries entries;
  return entries;
}

}  // namespace velto
