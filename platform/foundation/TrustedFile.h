// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/foundation/Error.h"
#include "platform/foundation/FileDescriptor.h"

namespace velto {

// Whoever can write a file that the daemon relies on can do with the daemon what they like. So such
// a file is opened once, and what is judged is the open file: a name may mean another one by then,
// unless all the folders on the way to it are judged too.

/// Who must own a file.
enum class FileOwner {
  kAnybody,
  kRootOrSelf,  ///< root, or the user that this process runs as
  kRoot,
};

/// What others than the owner may do with a file, by its mode.
enum class OthersMay { kReadAndWrite, kRead, kNeither };

/// What a file or folder must be like for the system to rely on it.
struct FileRequirement {
  FileOwner owner = FileOwner::kAnybody;
  OthersMay others = OthersMay::kReadAndWrite;
  bool followsLinks = true;  ///< whether the path itself may name a link
};

/// Opens a regular file for reading; a FIFO or device is neither waited for nor set off. Not open
/// when there is none that meets the requirement. Then the error, of the domain POSIX, says why in
/// a phrase without the path, such as "it belongs to user 5". Any thread.
FileDescriptor openTrustedFile(const std::string& path, const FileRequirement& requirement,
                               ErrorSlot error);

/// The same for a folder.
FileDescriptor openTrustedDirectory(const std::string& path, const FileRequirement& requirement,
                                    ErrorSlot error);

/// Opens a file whose content runs with the daemon's rights: `steps` lead from `directory` to it,
/// the last one names a regular file. `directory`, every folder on the way and the file itself must
/// belong to root or to the daemon's own user, and nobody else may be able to write them. Links are
/// followed in `directory` only. Every step starts at the folder just checked, so nothing can be
/// exchanged in between. Without success the descriptor is not open, and the error names what is in
/// the way, in a phrase. Any thread.
FileDescriptor openTrustedFileBelow(const std::string& directory,
                                    const std::vector<std::string>& steps, ErrorSlot error);

/// Who else than root and this process's user can write what is at `path`, in a sentence that names
/// it; nothing when nobody can, or nothing is there. It is judged by name alone. Any thread.
std::optional<std::string> writersElse(const std::string& path);

/// Whether the name stands for an entry of a folder, and for nothing else.
bool isFileName(const std::string& name);

}  // namespace velto
