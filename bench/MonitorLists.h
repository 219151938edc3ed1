// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <vector>

#include "bench/Comparisons.h"
#include "bench/ServiceProcesses.h"

namespace velto::bench {

/// How long pages of this many sample alerts take, by each filter at the first, a middle and the
/// last position, and counts by steps of time: from the call to the last byte of the reply.
std::vector<Reading> listReadings(const DaemonProcess& daemon, std::size_t alerts);

}  // namespace velto::bench
