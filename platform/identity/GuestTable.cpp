// SPDX-License-Identifier: Apache-2.0
#include "platform/identity/GuestTable.h"

#include <array>
#include <poll.h>
#include <sys/socket.h>

namespace velto {
namespace {

/// Since Linux 6.5; the headers of Debian 12 do not know it yet.
constexpr int kPeerProcessDescriptor = 77;

FileDescriptor peerProcess(int socket) {
  int process = -1;
  socklen_t size = sizeof process;
  return FileDescriptor(
      ::getsockopt(socket, SOL_SOCKET, kPeerProcessDescriptor, &process, &size) == 0 ? process
                                                                                     : -1);
}

std::optional<std::string> peerLabel(int socket) {
  std::array<char, 4096> label;
  socklen_t size = label.size();
  if (::getsockopt(socket, SOL_SOCKET, SO_PEERSEC, label.data(), &size) != 0) {
    return std::nullopt;
  }
  // Some security modules end it with a NUL or a line feed.
  std::string text(label.data(), size);
  text.resize(text.find_last_not_of(std::string_view("\0\n", 2)) + 1);
  return text;
}

}  // namespace

GuestTable::Entry::Entry(GuestTable& table, const AuditToken& token, int socket)
    : table_(table), address_(reinterpret_cast<std::uintptr_t>(&token)) {
  const MutexLock lock(table_.mutex_);
  table_.live_.insert_or_assign(address_, Live{token, socket});
}

GuestTable::Entry::~Entry() {
  const MutexLock lock(table_.mutex_);
  table_.live_.erase(address_);
}

std::optional<Guest> GuestTable::guestAt(std::uintptr_t address) const {
  const MutexLock lock(mutex_);
  const auto found = live_.find(address);
  if (found == live_.end()) {
    return std::nullopt;
  }
  const auto& [token, socket] = found->second;
  return Guest{token, peerProcess(socket), peerLabel(socket)};
}

bool isAlive(const FileDescriptor& process) {
  pollfd end{process.get(), POLLIN, 0};
  return process.isOpen() && ::poll(&end, 1, 0) == 0;
}

}  // namespace velto
