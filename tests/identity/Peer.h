// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <csignal>
#include <functional>
#include <optional>
#include <string>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "platform/identity/GuestTable.h"
#include "tests/support/TemporaryDirectory.h"

namespace velto {

/// Another process, which has connected a socket to this one, as a user of its own where this one
/// is root, and stays until it is told to go.
class Peer {
 public:
  explicit Peer(uid_t user = ::geteuid()) {
    const FileDescriptor listener(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string path = directory_.path() / "s";
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    const auto* generic = reinterpret_cast<const sockaddr*>(&address);
    EXPECT_EQ(::bind(listener.get(), generic, sizeof address), 0);
    EXPECT_EQ(::listen(listener.get(), 1), 0);
    // For other users.
    EXPECT_EQ(::chmod(directory_.path().c_str(), 0755), 0);
    EXPECT_EQ(::chmod(path.c_str(), 0666), 0);
    process_ = ::fork();
    if (process_ == 0) {
      const int connected = ::socket(AF_UNIX, SOCK_STREAM, 0);
      if ((user != ::geteuid() && ::seteuid(user) != 0) ||
          ::connect(connected, generic, sizeof address) != 0) {
        _exit(1);
      }
      ::pause();
      _exit(0);
    }
    socket_ = FileDescriptor(::accept4(listener.get(), nullptr, nullptr, SOCK_CLOEXEC));
    EXPECT_TRUE(socket_.isOpen());
    token_ = auditTokenOfPeer(socket_.get()).value_or(AuditToken());
  }
  ~Peer() { end(); }
  Peer(const Peer&) = delete;
  Peer& operator=(const Peer&) = delete;

  void end() {
    if (process_ > 0) {
      ::kill(process_, SIGKILL);
      ::waitpid(process_, nullptr, 0);
      process_ = -1;
    }
  }

  int socket() const { return socket_.get(); }
  const AuditToken& token() const { return token_; }
  /// As the table knows it.
  Guest guest() const {
    GuestTable table;
    const GuestTable::Entry entry(table, token_, socket_.get());
    return *table.guestAt(reinterpret_cast<std::uintptr_t>(&token_));
  }

 private:
  const TemporaryDirectory directory_;
  pid_t process_ = -1;
  FileDescriptor socket_;
  AuditToken token_;
};

}  // namespace velto
