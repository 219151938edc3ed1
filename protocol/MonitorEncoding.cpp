// SPDX-License-Identifier: Apache-2.0
#include "protocol/MonitorEncoding.h"

#include "alerts/VLAlertJSON.h"
#include "platform/foundation/JSONText.h"

namespace velto {

void appendJSON(std::string& text, Date date) {
  appendJSON(text, date.secondsSinceReference());
}

void appendJSON(std::string& text, const MonitorChannel& channel) {
  JSONObjectText object(text);
  object.add("name", channel.name);
  object.add("delivered", channel.delivered);
  object.add("failed", channel.failed);
  object.add("pending", channel.pending);
  object.add("lastFailure", channel.lastFailure);
  object.add("lastError", channel.lastError);
  object.end();
}

void appendJSON(std::string& text, const MonitorCounts& counts) {
  JSONObjectText object(text);
  object.add("alerts", counts.alerts);
  object.add("unread", counts.unread);
  object.add("unresolved", counts.unresolved);
  object.end();
}

void appendJSON(std::string& text, const MonitorStore& store) {
  JSONObjectText object(text);
  object.add("usable", store.usable);
  object.add("problem", store.problem);
  object.add("path", store.path);
  object.add("size", store.size);
  object.add("logSize", store.logSize);
  object.add("freeSize", store.freeSize);
  object.add("saves", store.saves);
  object.add("failedSaves", store.failedSaves);
  object.end();
}

void appendJSON(std::string& text, const MonitorStatus& status) {
  JSONObjectText object(text);
  object.add("version", status.version);
  object.add("startDate", status.startDate);
  object.add("counts", status.counts);
  object.add("store", status.store);
  object.add("channels", status.channels);
  object.add("connections", status.connections);
  object.add("calls", status.calls);
  object.add("served", status.served);
  object.end();
}

void appendJSON(std::string& text, const MonitorItem& item) {
  JSONObjectText object(text);
  object.add("alert", item.alert);
  object.add("subject", item.subject);
  object.end();
}

void appendJSON(std::string& text, const MonitorPage& page) {
  JSONObjectText object(text);
  object.add("items", page.items);
  object.add("next", page.next);
  object.end();
}

void appendJSON(std::string& text, const MonitorAction& action) {
  JSONObjectText object(text);
  object.add("name", action.name);
  object.add("title", action.title);
  object.end();
}

void appendJSON(std::string& text, const MonitorAlert& alert) {
  JSONObjectText object(text);
  object.add("alert", alert.alert);
  object.add("subject", alert.subject);
  object.add("message", alert.message);
  object.add("actions", alert.actions);
  object.end();
}

void appendJSON(std::string& text, const AlertHistoryEntry& entry) {
  JSONObjectText object(text);
  object.add("start", entry.start);
  object.add("bundle", entry.bundle);
  object.add("count", entry.count);
  object.end();
}

}  // namespace velto
