#pragma once

#include <functional>
#include <optional>

#include "platform/foundation/Error.h"

namespace velto {

/// Told what came of a save: nothing when all is on disk, or why nothing is. Called once, before
/// the save returns or later on another thread, where others are told after it: so it waits for
/// nothing, and throws nothing.
using SaveCompletion = std::function<void(std::optional<Error>)>;

}  // namespace velto
