// SPDX-License-Identifier: Apache-2.0
#include "client/ReplyMessage.h"

#include <cstddef>
#include <utility>

#include <boost/json/value.hpp>

#include "platform/connection/JSONReader.h"

namespace velto::alerts {
namespace {

namespace json = boost::json;

/// Deeper than any call: what a call brought in comes back within arrays of its like.
constexpr std::size_t kMaximumReplyDepth = 256;

/// Takes over one member of a reply; false when a reply cannot have it.
bool takeMember(std::string_view name, json::value& value, ReplyMessage& reply) {
  if (name == "parameters") {
    if (value.is_object()) reply.parameters = std::move(value.get_object());
    return value.is_object() || value.is_null();
  }
  if (name == "error" && value.is_string()) {
    reply.error = value.get_string();
    return true;
  }
  if (name == "continues" && value.is_bool()) {
    reply.continues = value.get_bool();
    return true;
  }
  return value.is_null() || (name != "error" && name != "continues");
}

}  // namespace

std::optional<ReplyMessage> ReplyMessage::parse(std::string_view message) {
  std::optional<json::value> document = readJSON(message, {}, kMaximumReplyDepth);
  if (!document || !document->is_object()) return std::nullopt;
  ReplyMessage reply;
  for (auto& [name, value] : document->get_object()) {
    if (!takeMember(name, value, reply)) return std::nullopt;
  }
  return reply;
}

}  // namespace velto::alerts
