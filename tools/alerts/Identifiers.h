// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include <velto/Monitor.h>

#include "tools/frame/Session.h"

namespace velto {

/// The one alert that `written` is the identifier of, or begins the identifier of, with what its
/// bundle says in the reader's language. Throws a Failure that names `written` when there is none,
/// or more than one.
alerts::AlertDetails alertNamed(Session& session, const std::string& written);

/// The whole identifiers, each of an alert that is there. Throws before anything could be done with
/// the first of them.
std::vector<std::string> completeIdentifiers(Session& session,
                                             const std::vector<std::string>& written);

}  // namespace velto
