// SPDX-License-Identifier: Apache-2.0
#include "tools/alerts/AlertTable.h"

#include <utility>

#include "tools/text/Message.h"
#include "tools/text/Printable.h"

namespace velto {
namespace {

std::string orDash(const std::optional<std::string>& text) {
  return text ? printable(*text) : "-";
}

TableCell stateOf(const alerts::Alert& alert) {
  if (alert.resolvedDate) return {tr("resolved"), CellStyle::kDim};
  if (alert.readDate) return {tr("open"), CellStyle::kPlain};
  return {tr("new"), CellStyle::kYellow};
}

}  // namespace

std::string subjectOf(Session& session, const alerts::ListItem& item) {
  return item.subject ? printable(*item.subject)
                      : session.typeName(item.alert.bundle, item.alert.type);
}

Table::Row alertRow(Session& session, const alerts::ListItem& item) {
  const alerts::Alert& alert = item.alert;
  const bool isNews = !alert.resolvedDate && !alert.readDate;
  return {{session.timeCell(alert.sentDate)},
          stateOf(alert),
          {session.bundleName(alert.bundle)},
          {session.typeName(alert.bundle, alert.type)},
          {orDash(alert.identifier), CellStyle::kDim},
          {subjectOf(session, item), isNews ? CellStyle::kBold : CellStyle::kPlain}};
}

Table alertTable(Session& session, const std::vector<alerts::ListItem>& items) {
  std::vector<Table::Row> rows;
  rows.reserve(items.size());
  for (const alerts::ListItem& item : items) {
    rows.push_back(alertRow(session, item));
  }
  return {{{.title = tr("SENT")},
           {.title = tr("STATE"), .leavesAt = 1},
           {.title = tr("BUNDLE"), .leavesAt = 2, .minimumWidth = 8},
           {.title = tr("KIND"), .leavesAt = 3, .minimumWidth = 8},
           {.title = tr("ID"), .minimumWidth = 12},
           {.title = tr("SUBJECT"), .minimumWidth = 24}},
          std::move(rows),
          session.tableLook()};
}

}  // namespace velto
