// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tools/frame/Session.h"

namespace velto {

/// The tag of a language that an option was given; throws a Failure with the nearest when it is
/// none. Absent for an empty text.
std::optional<std::string> requiredLanguage(const std::string& text);

/// A language for a table.
std::string languageCell(const Session& session, const std::optional<std::string>& tag);

/// Tells what was done to recipients, in the way asked for: `list` is its name in JSON.
void tellRecipients(Session& session, const char* list, const std::vector<std::string>& names,
                    const std::string& line);

}  // namespace velto
