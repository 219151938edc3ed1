// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "bench/Comparisons.h"
#include "bench/PreparedSaves.h"

namespace velto::bench {

/// How long the daemon of a system takes to be ready, with an empty log and with one of 16 MB that
/// a kill has left. No daemon runs there meanwhile.
std::vector<Reading> startReadings(const std::string& root, PreparedSaves& saves);

}  // namespace velto::bench
