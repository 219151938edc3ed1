// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string_view>

#include "alerts/Bundle.h"
#include "alerts/native/NativeClasses.h"
#include "platform/foundation/Error.h"

namespace velto {

/// Loads the code of a bundle into the process, for good, and adds its classes to `classes`.
/// Returns nothing, or why the code cannot be used, in a phrase for a log line; no class is added
/// then. Where `classes` has those of the very same file already, it stays with them.
///
/// The code runs with all of the daemon's rights: it is taken only from a regular file that root or
/// the daemon's own user owns and nobody else can write, and so are the folders from the alerts
/// directory down to it; a link on the way is refused. Loads into the same `classes` must not
/// overlap.
std::optional<Error> loadNativeBundle(const Bundle& bundle, std::string_view name,
                                      NativeClasses& classes);

}  // namespace velto
