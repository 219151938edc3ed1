// SPDX-License-Identifier: Apache-2.0
#include "tests/client/ScriptedService.h"

#include <array>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <utility>

#include <gtest/gtest.h>

namespace velto {
namespace {

/// Whether there is something to read; false when the service is to stop.
bool waitFor(int descriptor, int stopSignal) {
  std::array<pollfd, 2> waits = {{{descriptor, POLLIN, 0}, {stopSignal, POLLIN, 0}}};
  while (::poll(waits.data(), waits.size(), -1) < 0) {
  }
  return waits[1].revents == 0;
}

void sendAll(int client, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t size = ::send(client, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (size < 0) return;  // the client has gone
    bytes.remove_prefix(static_cast<std::size_t>(size));
  }
}

FileDescriptor listenAt(const std::string& path) {
  ::unlink(path.c_str());
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  path.copy(address.sun_path, sizeof(address.sun_path) - 1);
  FileDescriptor listener(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  EXPECT_EQ(::bind(listener.get(), reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
  EXPECT_EQ(::listen(listener.get(), 10), 0);
  return listener;
}

}  // namespace

ScriptedService::ScriptedService(const TemporaryDirectory& directory,
                                 std::vector<Conversation> conversations)
    : path_((directory.path() / "socket").string()),
      conversations_(std::move(conversations)),
      stopSignal_(::eventfd(0, EFD_CLOEXEC)),
      listener_(listenAt(path_)),
      thread_([this] { serve(); }) {}

ScriptedService::~ScriptedService() {
  ::eventfd_write(stopSignal_.get(), 1);
  thread_.join();
}

std::vector<std::string> ScriptedService::calls() const {
  const MutexLock lock(mutex_);
  return calls_;
}

void ScriptedService::serve() {
  for (const Conversation& conversation : conversations_) {
    if (!waitFor(listener_.get(), stopSignal_.get())) return;
    const FileDescriptor client(::accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC));
    converse(client.get(), conversation);
  }
  listener_ = FileDescriptor();
}

void ScriptedService::converse(int client, const Conversation& conversation) {
  for (const Answer& answer : conversation) {
    if (!receiveCall(client)) return;
    for (const std::string& text : answer.replies) {
      sendAll(client, text + '\0');
    }
    sendAll(client, answer.rest);
  }
}

/// Receives one call; false when there is none to come. A client waits for the reply to a call
/// before it sends another, so nothing comes behind the NUL.
bool ScriptedService::receiveCall(int client) {
  std::string call;
  std::array<char, 65536> bytes;
  while (!call.ends_with('\0')) {
    const ssize_t size =
        waitFor(client, stopSignal_.get()) ? ::recv(client, bytes.data(), bytes.size(), 0) : 0;
    if (size <= 0) return false;
    call.append(bytes.data(), static_cast<std::size_t>(size));
  }
  call.pop_back();
  const MutexLock lock(mutex_);
  calls_.push_back(std::move(call));
  return true;
}

std::string reply(std::string_view parameters) {
  return R"({"parameters":)" + std::string(parameters) + "}";
}

std::string piece(std::string_view parameters) {
  return R"({"continues":true,"parameters":)" + std::string(parameters) + "}";
}

std::string wireError(std::string_view name, std::string_view parameters) {
  return R"({"error":")" + std::string(name) + R"(","parameters":)" + std::string(parameters) + "}";
}

}  // namespace velto
