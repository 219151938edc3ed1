#include "platform/foundation/TrustedFile.h"

#include <cerrno>
#include <fcntl.h>
#include <optional>
#include <string_view>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace velto {
namespace {

/// What is wrong with a file's owner or mode, or nothing.
std::optional<std::string> distrust(const struct stat& status) {
  if (status.st_uid != 0 && status.st_uid != ::geteuid()) {
    return "belongs to user " + std::to_string(status.st_uid);
  }
  if ((status.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
    return "can be written by others than its owner";
  }
  return std::nullopt;
}

/// Opens the entry `name` of `directory`, whose own path is `path`, if it can be trusted.
FileDescriptor openTrusted(int directory, const std::string& name, int flags,
                           const std::string& path, std::string& reason) {
  FileDescriptor file(
      ::openat(directory, name.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY | flags));
  struct stat status;
  if (!file.isOpen() || ::fstat(file.get(), &status) != 0) {
    reason = path + ": " + std::generic_category().message(errno);
    return {};
  }
  if ((flags & O_DIRECTORY) == 0 && !S_ISREG(status.st_mode)) {
    reason = path + " is not a regular file";
    return {};
  }
  if (const auto objection = distrust(status)) {
    reason = path + " " + *objection;
    return {};
  }
  return file;
}

}  // namespace

FileDescriptor openTrustedFile(const std::string& directory, const std::vector<std::string>& steps,
                               std::string& reason) {
  std::string path = directory;
  FileDescriptor file = openTrusted(AT_FDCWD, path, O_DIRECTORY, path, reason);
  for (std::size_t step = 0; step < steps.size() && file.isOpen(); ++step) {
    const int flags = step + 1 == steps.size() ? O_NOFOLLOW : O_DIRECTORY | O_NOFOLLOW;
    path += "/" + steps[step];
    file = openTrusted(file.get(), steps[step], flags, path, reason);
  }
  return file;
}

bool isFileName(const std::string& name) {
  return !name.empty() && name != "." && name != ".." &&
         name.find_first_of(std::string_view("/\0", 2)) == std::string::npos;
}

}  // namespace velto
