#include "client/ClientConnection.h"

#include <array>
#include <cerrno>
#include <cstddef>
#include <sys/socket.h>
#include <sys/un.h>
#include <system_error>
#include <utility>

#include <boost/json/serialize.hpp>
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
constexpr std::size_t kInputChunk = std::size_t{64} * 1024;

void fail(ErrorSlot error, int code, const std::string& what) {
  setIfEmpty(error, makeError(kClientErrorDomain, code,
                              what + ": " + std::generic_category().message(code)));
}

/// Connects, also when a signal comes in between.
int connectTo(int socket, const sockaddr_un& address) {
  int result = 0;
  do {
    result = ::connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof(address));
  } while (result != 0 && errno == EINTR);
  return result;
}

std::string callText(std::string_view method, std::string_view parameters, ReplyMode mode) {
  std::string text = R"({"method":)" + json::serialize(json::string(method));
  if (!parameters.empty()) text.append(R"(,"parameters":)").append(parameters);
  if (mode == ReplyMode::kPieces) text.append(R"(,"more":true)");
  if (mode == ReplyMode::kNone) text.append(R"(,"oneway":true)");
  text.push_back('}');
  text.push_back('\0');
  return text;
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
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof(address.sun_path)) {
    fail(error, ENAMETOOLONG, "cannot connect to " + path);
    return nullptr;
  }
  path.copy(address.sun_path, path.size());

  FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  if (!socket.isOpen() || connectTo(socket.get(), address) != 0) {
    fail(error, errno, "cannot connect to " + path);
    return nullptr;
  }
  return std::unique_ptr<ClientConnection>(new ClientConnection(std::move(socket)));
}

bool ClientConnection::send(std::string_view method, std::string_view parameters, ReplyMode mode,
                            ErrorSlot error) {
  return sendAll(callText(method, parameters, mode), error);
}

std::optional<ClientReply> ClientConnection::receive(ErrorSlot error) {
  std::optional<std::string_view> message = input_.next();
  while (!message) {
    if (!receiveMore(error)) return std::nullopt;
    message = input_.next();
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

bool ClientConnection::sendAll(std::string_view bytes, ErrorSlot error) {
  while (!bytes.empty()) {
    const ssize_t size = ::send(socket_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (size >= 0) {
      bytes.remove_prefix(static_cast<std::size_t>(size));
    } else if (errno != EINTR) {
      fail(error, errno, "cannot send the call");
      return false;
    }
  }
  return true;
}

/// Waits for bytes and adds them to the input.
bool ClientConnection::receiveMore(ErrorSlot error) {
  if (input_.size() > kMaximumReplySize) {
    fail(error, EMSGSIZE, "the service sent a reply without end");
    return false;
  }
  std::array<char, kInputChunk> chunk;
  ssize_t size = 0;
  do {
    size = ::recv(socket_.get(), chunk.data(), chunk.size(), 0);
  } while (size < 0 && errno == EINTR);
  if (size <= 0) {
    fail(error, size == 0 ? ECONNRESET : errno, "the service did not answer");
    return false;
  }
  input_.add({chunk.data(), static_cast<std::size_t>(size)});
  input_.keep();
  return true;
}

}  // namespace velto
