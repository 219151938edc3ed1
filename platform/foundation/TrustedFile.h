#pragma once

#include <string>
#include <vector>

#include "platform/foundation/FileDescriptor.h"

namespace velto {

/// Opens a file whose content runs with the daemon's rights: `steps` lead from `directory` to it,
/// the last one names a regular file. `directory`, every folder on the way and the file itself must
/// belong to root or to the daemon's own user, and nobody else may be able to write them. Links are
/// followed in `directory` only. Every step starts at the folder just checked, so nothing can be
/// exchanged in between. Without success the descriptor is not open, and `reason` names what is in
/// the way, for a message to people. Any thread.
FileDescriptor openTrustedFile(const std::string& directory, const std::vector<std::string>& steps,
                               std::string& reason);

/// Whether the name stands for an entry of a folder, and for nothing else.
bool isFileName(const std::string& name);

}  // namespace velto
