// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "platform/foundation/Error.h"

namespace velto {

// What keeps a store's file from being opened or made, in a sentence. Any thread.

/// The path is there, though perhaps as the link to nothing that could not be opened.
bool exists(const std::string& path);

/// What the system says of the path.
Error unusable(const std::string& path, int errorNumber);

/// Of a new file, by the name that it will have; and what to make where a directory is missing.
Error cannotMake(const std::string& path, int errorNumber);

/// Has the error's description name `path` where it names a file that only exists until then.
void nameInstead(ErrorSlot error, const std::string& passing, const std::string& path);

}  // namespace velto
