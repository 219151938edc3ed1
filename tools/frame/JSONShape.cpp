// SPDX-License-Identifier: Apache-2.0
#include "tools/frame/JSONShape.h"

#include <string>
#include <string_view>
#include <utility>

#include <boost/json/array.hpp>

#include "client/CallText.h"
#include "platform/connection/JSONReader.h"
#include "tools/text/TimeText.h"

namespace velto {
namespace {

namespace json = boost::json;

/// Deeper than any reply that the library reads.
constexpr std::size_t kMaximumDepth = 512;

/// The value as the service's interface has it.
template <typename T>
json::object inTheInterface(const T& value) {
  auto text = alerts::CallText().add("value", value).finish();
  // What came from the service can be said in its words.
  auto parsed = text.value ? readJSON(*text.value, {}, kMaximumDepth) : std::nullopt;
  return parsed ? std::move(parsed->as_object().at("value").as_object()) : json::object();
}

template <typename T>
void put(json::object& object, std::string_view name, const std::optional<T>& value) {
  if (value) object[name] = *value;
}

void put(json::object& object, std::string_view name, const std::optional<alerts::Date>& value) {
  if (value) object[name] = asJSON(value);
}

std::string_view nameOf(alerts::EventKind kind) {
  switch (kind) {
    case alerts::EventKind::kAdded:
      return "added";
    case alerts::EventKind::kChanged:
      return "changed";
    case alerts::EventKind::kDeleted:
      return "deleted";
    case alerts::EventKind::kSettings:
      return "settings";
    case alerts::EventKind::kLost:
      break;
  }
  return "lost";
}

json::object asJSON(const alerts::Channel& channel) {
  json::object object{{"name", channel.name == alerts::ChannelName::kMail ? "mail" : "push"},
                      {"delivered", channel.delivered},
                      {"failed", channel.failed},
                      {"pending", channel.pending}};
  put(object, "lastFailure", channel.lastFailure);
  put(object, "lastError", channel.lastError);
  return object;
}

json::object asJSON(const alerts::StoreStatus& store) {
  json::object object{
      {"usable", store.usable},          {"path", store.path},         {"size", store.size},
      {"logSize", store.logSize},        {"freeSize", store.freeSize}, {"saves", store.saves},
      {"failedSaves", store.failedSaves}};
  put(object, "problem", store.problem);
  return object;
}

}  // namespace

json::value asJSON(const std::optional<alerts::Date>& date) {
  const auto text = date ? rfc3339(*date) : std::nullopt;
  return text ? json::value(*text) : json::value();
}

json::object asJSON(const alerts::Alert& alert) {
  json::object object;
  put(object, "identifier", alert.identifier);
  put(object, "type", alert.type);
  put(object, "bundle", alert.bundle);
  put(object, "creationDate", alert.creationDate);
  put(object, "sentDate", alert.sentDate);
  put(object, "readDate", alert.readDate);
  put(object, "resolvedDate", alert.resolvedDate);
  if (alert.attributes) object["attributes"] = asJSON(*alert.attributes);
  return object;
}

json::object asJSON(const alerts::ListItem& item) {
  json::object object = asJSON(item.alert);
  put(object, "subject", item.subject);
  return object;
}

json::object asJSON(const alerts::AlertDetails& details) {
  json::object object = asJSON(details.alert);
  put(object, "subject", details.subject);
  put(object, "message", details.message);
  json::array actions;
  for (const alerts::Action& action : details.actions) {
    actions.push_back({{"name", action.name}, {"title", action.title}});
  }
  object["actions"] = std::move(actions);
  return object;
}

json::object asJSON(const alerts::Status& status) {
  json::array channels;
  for (const alerts::Channel& channel : status.channels) {
    channels.push_back(asJSON(channel));
  }
  return {{"version", status.version},
          {"startDate", asJSON(std::optional(status.startDate))},
          {"counts",
           {{"alerts", status.counts.alerts},
            {"unread", status.counts.unread},
            {"unresolved", status.counts.unresolved}}},
          {"store", asJSON(status.store)},
          {"channels", std::move(channels)},
          {"connections", status.connections},
          {"calls", status.calls},
          {"served", status.served}};
}

json::object asJSON(const alerts::Event& event) {
  json::object object{{"sequence", event.sequence}, {"kind", nameOf(event.kind)}};
  put(object, "identifier", event.identifier);
  if (event.alert) object["alert"] = asJSON(*event.alert);
  return object;
}

json::object asJSON(const Failure& failure) {
  json::object error{{"status", static_cast<int>(failure.status)}, {"message", failure.what}};
  if (!failure.advice.empty()) error["advice"] = failure.advice;
  if (failure.error) {
    error["domain"] = failure.error->domain;
    error["code"] = failure.error->code;
  }
  return {{"error", std::move(error)}};
}

json::object asJSON(const alerts::Value::Dictionary& values) {
  json::object object = inTheInterface(values);
  // What is told of is one dictionary, whose names nobody mistakes for those of other kinds.
  return object.size() == 1 && object.contains("$dict") ? std::move(object.at("$dict").as_object())
                                                        : object;
}

}  // namespace velto
