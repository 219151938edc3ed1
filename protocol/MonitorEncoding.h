// SPDX-License-Identifier: Apache-2.0
#pragma once

// What the watching interface tells, as JSON; what is absent is left out.

#include <string>

#include "protocol/MonitorValues.h"

namespace velto {

void appendJSON(std::string& text, const MonitorStatus& status);
void appendJSON(std::string& text, const MonitorPage& page);
void appendJSON(std::string& text, const MonitorAlert& alert);
void appendJSON(std::string& text, const AlertHistoryEntry& entry);

}  // namespace velto
