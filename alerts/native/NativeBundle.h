#pragma once

#include <string>
#include <string_view>

#include "alerts/Bundle.h"
#include "alerts/native/NativeClasses.h"

namespace velto {

/// Loads the code of a bundle into the process, for good, and adds its classes to `classes`. On
/// failure gives false and the reason, a phrase for a log line; no class is added then.
///
/// The code runs with all of the daemon's rights: it is taken only from a regular file, below
/// directories, that root or the daemon's own user owns and nobody else can write. Loads into the
/// same `classes` must not overlap.
bool loadNativeBundle(const Bundle& bundle, std::string_view name, NativeClasses& classes,
                      std::string& reason);

}  // namespace velto
