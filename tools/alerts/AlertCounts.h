// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include <velto/Value.h>

#include "tools/frame/Session.h"

namespace velto {

/// How many alerts were ever sent, by bundle. Those without a sent date do not count.
std::map<std::optional<std::string>, std::int64_t> alertCounts(Session& session);

std::int64_t countOfSentBefore(Session& session, alerts::Date date);

}  // namespace velto
