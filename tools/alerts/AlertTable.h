// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vector>

#include <velto/Monitor.h>

#include "tools/frame/Session.h"
#include "tools/text/Table.h"

namespace velto {

/// A table of alerts whose widths suit these; later ones may be added to it line by line.
Table alertTable(Session& session, const std::vector<alerts::ListItem>& items);

Table::Row alertRow(Session& session, const alerts::ListItem& item);

/// What an alert is called in a line: its subject, or its kind.
std::string subjectOf(Session& session, const alerts::ListItem& item);

}  // namespace velto
