// SPDX-License-Identifier: Apache-2.0
#include "client/ClientConnection.h"

#include <cerrno>
#include <cstddef>
#include <system_error>

#include <boost/json/string.hpp>
#include <boost/json/value.hpp>

#include "platform/connection/JSONReader.h"

namespace velto {
namespace {

namespace json = boost::json;

/// No service answers with a longer message; something else does.
constexpr std::size_t kMaximumReplySize = std::size_t{1} << 30;
/// Deeper than any call: what a call brought in comes back within arrays of its like.
constexpr std::size_t kMaximumReplyDepth = 256;

void fail(ErrorSlot error, int code, const std::string& what) {
  setIfEmpty(error, makeError(kClientErrorDomain, code,
                              what + ": " + std::generic_category().message(code)));
}

/// The system's number for an error of the connection.
int errorNumber(const Error& failure) {
  switch (failure.code) {
    case kVarlinkHungUpErrorCode:
      return ECONNRESET;
    case kVarlinkEndlessErrorCode:
      return EMSGSIZE;
    default:
      return static_cast<int>(failure.code);
  }
}

/// Takes over one member of a reply; false when a reply cannot have it.
bool takeMember(std::string_view name, json::value& value, ClientReply& reply) {
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

std::optional<ClientReply> parseReply(std::string_view message) {
  std::optional<json::value> document = readJSON(message, {}, kMaximumReplyDepth);
  if (!document || !document->is_object()) return std::nullopt;
  ClientReply reply;
  for (auto& [name, value] : document->get_object()) {
    if (!takeMember(name, value, reply)) return std::nullopt;
  }
  return reply;
}

}  // namespace

std::unique_ptr<ClientConnection> ClientConnection::connect(const std::string& path,
                                                            ErrorSlot error) {
  std::optional<Error> failure;
  auto client = VarlinkClient::connect(path, {.replySize = kMaximumReplySize}, &failure);
  if (client == nullptr) {
    fail(error, errorNumber(*failure), "cannot connect to " + path);
    return nullptr;
  }
  return std::unique_ptr<ClientConnection>(new ClientConnection(std::move(client)));
}

bool ClientConnection::send(std::string_view method, std::string_view parameters, ReplyMode mode,
                            ErrorSlot error) {
  std::optional<Error> failure;
  if (!client_->send(method, parameters, mode, &failure)) {
    fail(error, errorNumber(*failure), "cannot send the call");
    return false;
  }
  return true;
}

std::optional<ClientReply> ClientConnection::receive(ErrorSlot error) {
  std::optional<Error> failure;
  const std::optional<std::string_view> message = client_->receive(&failure);
  if (!message) {
    const bool isEndless = failure->code == kVarlinkEndlessErrorCode;
    fail(error, errorNumber(*failure),
         isEndless ? "the service sent a reply without end" : "the service did not answer");
    return std::nullopt;
  }
  auto reply = parseReply(*message);
  if (!reply) fail(error, EBADMSG, "the service sent something that is no reply");
  return reply;
}

std::optional<ClientReply> ClientConnection::call(std::string_view method,
                                                  std::string_view parameters, ErrorSlot error) {
  if (!send(method, parameters, ReplyMode::kOne, error)) return std::nullopt;
  return receive(error);
}

bool ClientConnection::call(std::string_view method, std::string_view parameters, ReplyMode mode,
                            const std::function<void(const ClientReply&)>& receiver,
                            ErrorSlot error) {
  if (!send(method, parameters, mode, error)) return false;
  for (bool continues = mode != ReplyMode::kNone; continues;) {
    const std::optional<ClientReply> reply = receive(error);
    if (!reply) return false;
    receiver(*reply);
    continues = reply->continues;
  }
  return true;
}

}  // namespace velto
