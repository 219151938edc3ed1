// SPDX-License-Identifier: Apache-2.0
#include "tools/frame/NewFile.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

#include "tools/frame/Failure.h"
#include "tools/text/Message.h"
#include "tools/text/Printable.h"

namespace velto {

NewFile::NewFile(std::string path, mode_t mode, Existing existing)
    : path_(std::move(path)), existing_(existing), draft_(path_ + ".XXXXXX") {
  struct stat status {};
  if (existing == Existing::kKept && lstat(path_.c_str(), &status) == 0) fail(EEXIST);
  file_ = FileDescriptor(mkostemp(draft_.data(), O_CLOEXEC));
  if (!file_.isOpen()) fail(errno);
  fchmod(file_.get(), mode);
}

NewFile::~NewFile() {
  if (!draft_.empty()) unlink(draft_.c_str());
}

void NewFile::fail(int code) const {
  throw Failure{
      .what = say("cannot write {}: {}", printable(path_), std::system_category().message(code))};
}

void NewFile::write(std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = ::write(file_.get(), bytes.data(), bytes.size());
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) fail(errno);
    bytes.remove_prefix(static_cast<std::size_t>(written));
  }
}

void NewFile::finish() {
  if (fsync(file_.get()) != 0) fail(errno);
  // Where it must not take another's place, that is seen in the same step.
  const bool isNamed =
      existing_ == Existing::kReplaced
          ? rename(draft_.c_str(), path_.c_str()) == 0
          : renameat2(AT_FDCWD, draft_.c_str(), AT_FDCWD, path_.c_str(), RENAME_NOREPLACE) == 0;
  if (!isNamed) fail(errno);
  draft_.clear();
  const auto folder = std::filesystem::path(path_).parent_path();
  const FileDescriptor directory(
      open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!directory.isOpen() || fsync(directory.get()) != 0) fail(errno);
}

}  // namespace velto
