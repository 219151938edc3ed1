// SPDX-License-Identifier: Apache-2.0
#include "platform/foundation/RegularFile.h"

#include <array>
#include <cerrno>
#include <system_error>
#include <unistd.h>

#include "platform/foundation/TrustedFile.h"

namespace velto {
namespace {

std::optional<std::string> contentsOfPath(const std::string& path, std::size_t limit,
                                          const FileRequirement& requirement, ErrorSlot error) {
  std::optional<Error> problem;
  const FileDescriptor file = openTrustedFile(path, requirement, &problem);
  auto content = file.isOpen() ? contentsOfFile(file, limit, &problem) : std::nullopt;
  if (!content) {
    replaceError(error, makeError(problem->domain, problem->code,
                                  "Cannot read " + path + ": " + problem->localizedDescription()));
  }
  return content;
}

}  // namespace

std::optional<std::string> contentsOfRegularFile(const std::string& path, std::size_t limit,
                                                 ErrorSlot error) {
  return contentsOfPath(path, limit, FileRequirement(), error);
}

std::optional<std::string> contentsOfPrivateFile(const std::string& path, std::size_t limit,
                                                 ErrorSlot error) {
  return contentsOfPath(path, limit, {FileOwner::kRootOrSelf, OthersMay::kNeither}, error);
}

std::optional<std::string> contentsOfFile(const FileDescriptor& file, std::size_t limit,
                                          ErrorSlot error) {
  const auto fail = [error](int code) {
    setIfEmpty(error, makeError(kPOSIXErrorDomain, code, std::generic_category().message(code)));
    return std::nullopt;
  };
  std::string content;
  std::array<char, 16384> buffer;
  for (;;) {
    const ssize_t count = ::read(file.get(), buffer.data(), buffer.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return fail(errno);
    if (count == 0) return content;
    content.append(buffer.data(), static_cast<std::size_t>(count));
    if (content.size() > limit) return fail(EFBIG);
  }
}

}  // namespace velto
