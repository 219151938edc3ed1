// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include <boost/json/object.hpp>

#include "tools/frame/Failure.h"
#include "tools/frame/Session.h"

namespace velto {

// What a call does silently, and its caller may not have meant. `method` is the last part of the
// name.

/// What of the parameters has no effect, or another one than it seems, in sentences for people.
std::vector<std::string> objectionsToCall(Session& session, const std::string& method,
                                          const boost::json::object& parameters);

/// Adds what the store's own words leave out to its failure: the identifier that was not found, or
/// the names that there are.
void nameWhatIsMissing(Failure& failure, Session& session, const boost::json::object& parameters);

}  // namespace velto
