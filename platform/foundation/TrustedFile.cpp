// SPDX-License-Identifier: Apache-2.0
#include "platform/foundation/TrustedFile.h"

#include <cerrno>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace velto {
namespace {

/// For what runs with the daemon's rights.
constexpr FileRequirement kRunnable = {FileOwner::kRootOrSelf, OthersMay::kRead, false};

/// Why a file is not used.
enum class Objection { kNone, kNotOpened, kNotRegular, kOwner, kOthers };

/// The outcome of opening a file.
struct Attempt {
  FileDescriptor file;  ///< open only without an objection
  Objection objection = Objection::kNone;
  int code = 0;  ///< the errno that stands for the objection
  uid_t owner = 0;
};

bool isOwnerMet(const FileRequirement& requirement, uid_t owner) {
  return requirement.owner == FileOwner::kAnybody || owner == 0 ||
         (requirement.owner == FileOwner::kRootOrSelf && owner == ::geteuid());
}

mode_t forbiddenRights(const FileRequirement& requirement) {
  switch (requirement.others) {
    case OthersMay::kReadAndWrite:
      return 0;
    case OthersMay::kRead:
      return S_IWGRP | S_IWOTH;
    case OthersMay::kNeither:
      break;
  }
  return S_IRWXG | S_IRWXO;
}

/// Opens the entry `name` of the folder `directory`; a folder itself if `isFolder`.
Attempt tryToOpen(int directory, const std::string& name, bool isFolder,
                  const FileRequirement& requirement) {
  if (name.find('\0') != std::string::npos) {
    return {{}, Objection::kNotOpened, EINVAL};
  }
  const int flags = (isFolder ? O_DIRECTORY : 0) | (requirement.followsLinks ? 0 : O_NOFOLLOW);
  FileDescriptor file(
      ::openat(directory, name.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY | flags));
  struct stat status {};
  if (!file.isOpen() || ::fstat(file.get(), &status) != 0) {
    return {{}, Objection::kNotOpened, errno};
  }
  if (!isFolder && !S_ISREG(status.st_mode)) {
    return {{}, Objection::kNotRegular, S_ISDIR(status.st_mode) ? EISDIR : EINVAL};
  }
  if (!isOwnerMet(requirement, status.st_uid)) {
    return {{}, Objection::kOwner, EPERM, status.st_uid};
  }
  if ((status.st_mode & forbiddenRights(requirement)) != 0) {
    return {{}, Objection::kOthers, EPERM};
  }
  return {std::move(file)};
}

std::string phrase(const Attempt& attempt, const FileRequirement& requirement) {
  const bool isRoots = requirement.owner == FileOwner::kRoot;
  switch (attempt.objection) {
    case Objection::kOwner:
      return isRoots ? "it does not belong to root"
                     : "it belongs to user " + std::to_string(attempt.owner);
    case Objection::kOthers:
      return std::string("others than ") + (isRoots ? "root" : "its owner") + " can " +
             (requirement.others == OthersMay::kRead ? "write it" : "read or write it");
    default:
      return std::generic_category().message(attempt.code);
  }
}

std::string belongingTo(const std::string& path, uid_t owner) {
  return path + " belongs to user " + std::to_string(owner);
}

std::string writableByOthers(const std::string& path) {
  return path + " can be written by others than its owner";
}

/// The same for a file that is one of several on the way.
std::string phraseNaming(const std::string& path, const Attempt& attempt) {
  switch (attempt.objection) {
    case Objection::kNotRegular:
      return path + " is not a regular file";
    case Objection::kOwner:
      return belongingTo(path, attempt.owner);
    case Objection::kOthers:
      return writableByOthers(path);
    default:
      return path + ": " + std::generic_category().message(attempt.code);
  }
}

FileDescriptor openTrusted(const std::string& path, bool isFolder,
                           const FileRequirement& requirement, ErrorSlot error) {
  Attempt attempt = tryToOpen(AT_FDCWD, path, isFolder, requirement);
  if (attempt.objection != Objection::kNone) {
    setIfEmpty(error, makeError(kPOSIXErrorDomain, attempt.code, phrase(attempt, requirement)));
  }
  return std::move(attempt.file);
}

}  // namespace

FileDescriptor openTrustedFile(const std::string& path, const FileRequirement& requirement,
                               ErrorSlot error) {
  return openTrusted(path, false, requirement, error);
}

FileDescriptor openTrustedDirectory(const std::string& path, const FileRequirement& requirement,
                                    ErrorSlot error) {
  return openTrusted(path, true, requirement, error);
}

FileDescriptor openTrustedFileBelow(const std::string& directory,
                                    const std::vector<std::string>& steps, ErrorSlot error) {
  std::string path = directory;
  Attempt attempt =
      tryToOpen(AT_FDCWD, path, true, {kRunnable.owner, kRunnable.others, /*followsLinks=*/true});
  for (std::size_t step = 0; step < steps.size() && attempt.file.isOpen(); ++step) {
    path += "/" + steps[step];
    attempt =
        tryToOpen(attempt.file.get(), steps[step], /*isFolder=*/step + 1 < steps.size(), kRunnable);
  }
  if (attempt.objection != Objection::kNone) {
    setIfEmpty(error, makeError(kPOSIXErrorDomain, attempt.code, phraseNaming(path, attempt)));
  }
  return std::move(attempt.file);
}

std::optional<std::string> writersElse(const std::string& path) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) return std::nullopt;
  if (status.st_uid != 0 && status.st_uid != ::geteuid()) return belongingTo(path, status.st_uid);
  return (status.st_mode & (S_IWGRP | S_IWOTH)) != 0 ? std::optional(writableByOthers(path))
                                                     : std::nullopt;
}

bool isFileName(const std::string& name) {
  return !name.empty() && name != "." && name != ".." &&
         name.find_first_of(std::string_view("/\0", 2)) == std::string::npos;
}

}  // namespace velto
