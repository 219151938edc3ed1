// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "alerts/VLAlert.h"

namespace velto {

/// The alert as JSON: its members by name, dates as seconds since 2001-01-01 00:00:00 UTC, and the
/// attributes as every property list. What is absent is left out. Any thread.
void appendJSON(std::string& text, const VLAlert& alert);

}  // namespace velto
