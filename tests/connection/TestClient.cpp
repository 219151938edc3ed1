// SPDX-License-Identifier: Apache-2.0
#include "tests/connection/TestClient.h"

#include <array>
#include <chrono>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <gtest/gtest.h>

namespace velto {
namespace {

/// Only a hang takes so long.
constexpr std::chrono::milliseconds kPatience = std::chrono::minutes(2);

}  // namespace

TestClient::TestClient(const std::string& path)
    : socket_(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  path.copy(address.sun_path, sizeof(address.sun_path) - 1);
  if (::connect(socket_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
    hangUp();
  }
}

bool TestClient::sendBytes(std::string_view bytes) const {
  while (!bytes.empty()) {
    const ssize_t size = ::send(socket_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (size < 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(size));
  }
  return true;
}

bool TestClient::send(std::string_view message) const {
  return sendBytes(std::string(message).append(1, '\0'));
}

void TestClient::shutDownWriting() const {
  EXPECT_EQ(::shutdown(socket_.get(), SHUT_WR), 0);
}

std::optional<std::string> TestClient::receive() {
  std::array<char, 65536> chunk;
  std::size_t end = input_.find('\0');
  while (end == std::string::npos) {
    pollfd event{.fd = socket_.get(), .events = POLLIN, .revents = 0};
    EXPECT_EQ(::poll(&event, 1, static_cast<int>(kPatience.count())), 1) << "nothing came";
    const ssize_t size = ::recv(socket_.get(), chunk.data(), chunk.size(), MSG_DONTWAIT);
    if (size <= 0) return std::nullopt;
    const std::size_t before = input_.size();
    input_.append(chunk.data(), static_cast<std::size_t>(size));
    end = input_.find('\0', before);
  }
  std::string message = input_.substr(0, end);
  // A string of its own, so that what is left holds no more memory than it needs.
  std::string(input_, end + 1).swap(input_);
  return message;
}

std::optional<std::string> TestClient::ask(std::string_view message) {
  return send(message) ? receive() : std::nullopt;
}

}  // namespace velto
