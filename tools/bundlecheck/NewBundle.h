// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "platform/foundation/Error.h"

namespace velto {

/// Makes a bundle that works at `path`, whose last part is its name with or without ".bundle", to
/// be changed by its author: one type with a plural, in English and German, and a recovery action.
/// Gives its path; nothing, with an error, when there is something already or it cannot be written.
std::optional<std::string> makeNewBundle(const std::string& path, ErrorSlot error);

}  // namespace velto
