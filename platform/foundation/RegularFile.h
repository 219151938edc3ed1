// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "platform/foundation/Error.h"
#include "platform/foundation/FileDescriptor.h"

namespace velto {

/// The bytes of a regular file of at most `limit` bytes. Nothing, with an error that names the
/// file, for anything else at the path; a FIFO or device is neither waited for nor set off. Any
/// thread.
std::optional<std::string> contentsOfRegularFile(const std::string& path, std::size_t limit,
                                                 ErrorSlot error);

/// The same for a file with a secret: it must belong to root or to this process's own user, and
/// nobody else may be able to read or write it.
std::optional<std::string> contentsOfPrivateFile(const std::string& path, std::size_t limit,
                                                 ErrorSlot error);

/// What an open file holds from where it stands, at most `limit` bytes. Nothing, with an error
/// whose code is the errno, EFBIG for more than that, and which does not name the file.
std::optional<std::string> contentsOfFile(const FileDescriptor& file, std::size_t limit,
                                          ErrorSlot error);

}  // namespace velto
