// SPDX-License-Identifier: Apache-2.0
#include <array>
#include <utility>

#include "client/ReplyDecoding.h"

namespace velto::alerts {
namespace {

namespace json = boost::json;

/// The value whose word the text is.
template <typename T, std::size_t size>
bool decodeWord(const json::value& json,
                const std::array<std::pair<std::string_view, T>, size>& words, T& value) {
  const auto* found = std::find_if(words.begin(), words.end(), [&json](const auto& word) {
    return json.is_string() && json.get_string() == word.first;
  });
  if (found == words.end()) return false;
  value = found->second;
  return true;
}

}  // namespace

bool decode(const json::value& json, ChannelName& value) {
  return decodeWord(json,
                    std::array{std::pair{std::string_view("mail"), ChannelName::kMail},
                               std::pair{std::string_view("push"), ChannelName::kPush}},
                    value);
}

bool decode(const json::value& json, Channel& value) {
  const json::object* object = json.if_object();
  return object != nullptr && decodeMember(*object, "name", value.name) &&
         decodeMember(*object, "delivered", value.delivered) &&
         decodeMember(*object, "failed", value.failed) &&
         decodeMember(*object, "pending", value.pending) &&
         decodeMember(*object, "lastFailure", value.lastFailure) &&
         decodeMember(*object, "lastError", value.lastError);
}

bool decode(const json::value& json, Counts& value) {
  const json::object* object = json.if_object();
  return object != nullptr && decodeMember(*object, "alerts", value.alerts) &&
         decodeMember(*object, "unread", value.unread) &&
         decodeMember(*object, "unresolved", value.unresolved);
}

bool decode(const json::value& json, StoreStatus& value) {
  const json::object* object = json.if_object();
  return object != nullptr && decodeMember(*object, "usable", value.usable) &&
         decodeMember(*object, "problem", value.problem) &&
         decodeMember(*object, "path", value.path) && decodeMember(*object, "size", value.size) &&
         decodeMember(*object, "logSize", value.logSize) &&
         decodeMember(*object, "freeSize", value.freeSize) &&
         decodeMember(*object, "saves", value.saves) &&
         decodeMember(*object, "failedSaves", value.failedSaves);
}

bool decode(const json::value& json, Status& value) {
  const json::object* object = json.if_object();
  return object != nullptr && decodeMember(*object, "version", value.version) &&
         decodeMember(*object, "startDate", value.startDate) &&
         decodeMember(*object, "counts", value.counts) &&
         decodeMember(*object, "store", value.store) &&
         decodeMember(*object, "channels", value.channels) &&
         decodeMember(*object, "connections", value.connections) &&
         decodeMember(*object, "calls", value.calls) &&
         decodeMember(*object, "served", value.served);
}

bool decode(const json::value& json, ListItem& value) {
  const json::object* object = json.if_object();
  return object != nullptr && decodeMember(*object, "alert", value.alert) &&
         decodeMember(*object, "subject", value.subject);
}

bool decode(const json::value& json, Action& value) {
  const json::object* object = json.if_object();
  return object != nullptr && decodeMember(*object, "name", value.name) &&
         decodeMember(*object, "title", value.title);
}

bool decode(const json::value& json, HistoryEntry& value) {
  const json::object* object = json.if_object();
  return object != nullptr && decodeMember(*object, "start", value.start) &&
         decodeMember(*object, "bundle", value.bundle) &&
         decodeMember(*object, "count", value.count);
}

bool decode(const json::value& json, EventKind& value) {
  return decodeWord(json,
                    std::array{std::pair{std::string_view("added"), EventKind::kAdded},
                               std::pair{std::string_view("changed"), EventKind::kChanged},
                               std::pair{std::string_view("deleted"), EventKind::kDeleted},
                               std::pair{std::string_view("settings"), EventKind::kSettings},
                               std::pair{std::string_view("lost"), EventKind::kLost}},
                    value);
}

bool decode(const json::value& json, Event& value) {
  const json::object* object = json.if_object();
  return object != nullptr && decodeMember(*object, "sequence", value.sequence) &&
         decodeMember(*object, "kind", value.kind) &&
         decodeMember(*object, "identifier", value.identifier) &&
         decodeMember(*object, "alert", value.alert);
}

bool decodeReply(const json::object& parameters, ListPage& value) {
  return decodeMember(parameters, "items", value.items) &&
         decodeMember(parameters, "next", value.next);
}

bool decodeReply(const json::object& parameters, AlertDetails& value) {
  return decodeMember(parameters, "alert", value.alert) &&
         decodeMember(parameters, "subject", value.subject) &&
         decodeMember(parameters, "message", value.message) &&
         decodeMember(parameters, "actions", value.actions);
}

bool decodeReply(const json::object& parameters, Changes& value) {
  return decodeMember(parameters, "sequence", value.sequence) &&
         decodeMember(parameters, "events", value.events);
}

}  // namespace velto::alerts
