// SPDX-License-Identifier: Apache-2.0
#include "daemon/EventLog.h"

#include <algorithm>
#include <utility>

#include "platform/foundation/JSONText.h"
#include "store/AlertChange.h"

namespace velto {
namespace {

std::optional<std::string> copied(const std::string* text) {
  return text == nullptr ? std::nullopt : std::optional(*text);
}

}  // namespace

ChangeEvent ChangeEvent::of(const ChangedRow& row, std::uint64_t sequence) {
  ChangeEvent event{.sequence = sequence, .isOfAlert = AlertChange::isOfAlert(row)};
  if (event.isOfAlert) {
    event.bundle = copied(AlertChange(row).bundle());
    event.type = copied(AlertChange(row).type());
  }
  return event;
}

std::string ChangeEvent::textOf(const ChangedRow& row) {
  std::string text;
  JSONObjectText object(text);
  if (!AlertChange::isOfAlert(row)) {
    object.add("kind", "settings");
  } else if (row.kind == ChangedRow::Kind::kDeleted) {
    object.add("kind", "deleted");
    object.add("identifier", copied(AlertChange(row).identifier()));
  } else {
    object.add("kind", row.kind == ChangedRow::Kind::kInserted ? "added" : "changed");
    object.beginMember("alert");
    AlertChange(row).appendAlert(text);
  }
  object.end();
  return text;
}

void appendEvent(std::string& text, std::uint64_t sequence, std::string_view members) {
  text += R"({"sequence":)";
  appendJSON(text, sequence);
  text += ',';
  text += members.substr(1);  // behind the brace
}

void EventLog::push(ChangeEvent event) {
  size_ += event.size();
  events_.push_back(std::move(event));
}

void EventLog::popFront() {
  size_ -= events_.front().size();
  events_.pop_front();
}

EventLog::Events::const_iterator EventLog::firstAfter(std::uint64_t after) const {
  return std::upper_bound(
      events_.begin(), events_.end(), after,
      [](std::uint64_t number, const auto& event) { return number < event.sequence; });
}

}  // namespace velto
