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

std::nullopt_t fail(ErrorSlot slot, const std::string& path, int code) {
  replaceError(slot,
               makeError(kPOSIXErrorDomain, code,
                         "Cannot read " + path + ": " + std::generic_category().message(code)));
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

}  // namespace

std::optional<std::string> contentsOfRegularFile(const std::string& path, std::size_t limit,
                                                 ErrorSlot error) {
  if (path.find('\0') != std::string::npos) {
    return fail(error, path, EINVAL);
  }
  const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
  if (!file.isOpen()) {
    return fail(error, path, errno);
  }
  struct stat status;
  if (::fstat(file.get(), &status) != 0) {
    return fail(error, path, errno);
  }
  if (!S_ISREG(status.st_mode)) {
    return fail(error, path, S_ISDIR(status.st_mode) ? EISDIR : EINVAL);
  }
  std::string content;
  const int code = readAll(file.get(), limit, content);
  return code == 0 ? std::optional(std::move(content)) : fail(error, path, code);
}

}  // namespace velto
