#include "platform/foundation/RegularFile.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

#include "platform/foundation/FileDescriptor.h"
#include "platform/foundation/FileManager.h"

namespace velto {
namespace {

/// What a file must be like for its content to be used: an objection, or nothing.
using Requirement = std::optional<std::string> (*)(const struct stat& status);

std::nullopt_t fail(ErrorSlot slot, const std::string& path, int code,
                    const std::string& why = {}) {
  const std::string reason = why.empty() ? std::generic_category().message(code) : why;
  replaceError(slot, makeError(kPOSIXErrorDomain, code, "Cannot read " + path + ": " + reason));
  return std::nullopt;
}

/// Reads to the end of the file; gives 0, or the errno that says why not.
int readAll(int descriptor, std::size_t limit, std::string& content) {
  std::array<char, 16384> buffer;
  for (;;) {
    const ssize_t count = ::read(descriptor, buffer.data(), buffer.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return errno;
    if (count == 0) return 0;
    content.append(buffer.data(), static_cast<std::size_t>(count));
    if (content.size() > limit) return EFBIG;
  }
}

std::optional<std::string> objectionToPrivacy(const struct stat& status) {
  if (status.st_uid != 0 && status.st_uid != ::geteuid()) {
    return "it belongs to user " + std::to_string(status.st_uid);
  }
  if ((status.st_mode & (S_IRWXG | S_IRWXO)) != 0) {
    return "others than its owner can read or write it";
  }
  return std::nullopt;
}

std::optional<std::string> contents(const std::string& path, std::size_t limit,
                                    Requirement requirement, ErrorSlot error) {
  if (path.find('\0') != std::string::npos) {
    return fail(error, path, EINVAL);
  }
  const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
  struct stat status;
  if (!file.isOpen() || ::fstat(file.get(), &status) != 0) {
    return fail(error, path, errno);
  }
  if (!S_ISREG(status.st_mode)) {
    return fail(error, path, S_ISDIR(status.st_mode) ? EISDIR : EINVAL);
  }
  if (const auto objection = requirement == nullptr ? std::nullopt : requirement(status)) {
    return fail(error, path, EPERM, *objection);
  }
  std::string content;
  const int code = readAll(file.get(), limit, content);
  return code == 0 ? std::optional(std::move(content)) : fail(error, path, code);
}

}  // namespace

std::optional<std::string> contentsOfRegularFile(const std::string& path, std::size_t limit,
                                                 ErrorSlot error) {
  return contents(path, limit, nullptr, error);
}

std::optional<std::string> contentsOfPrivateFile(const std::string& path, std::size_t limit,
                                                 ErrorSlot error) {
  return contents(path, limit, objectionToPrivacy, error);
}

}  // namespace velto
