// SPDX-License-Identifier: Apache-2.0
#include "platform/identity/AuditToken.h"

#include <array>
#include <atomic>
#include <charconv>
#include <fcntl.h>
#include <string>
#include <string_view>
#include <sys/socket.h>
#include <unistd.h>

#include "platform/foundation/FileDescriptor.h"

namespace velto {
namespace {

constexpr int kStartTimeField = 22;
/// The program's name, which stands in parentheses and may itself hold spaces and parentheses.
constexpr int kNameField = 2;

}  // namespace

std::uint64_t startTimeOfProcess(pid_t process) {
  const std::string path = "/proc/" + std::to_string(process) + "/stat";
  const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
  std::array<char, 1024> text{};
  const ssize_t size = ::read(file.get(), text.data(), text.size());
  return size < 0 ? 0 : startTimeInStat({text.data(), static_cast<std::size_t>(size)});
}

std::uint64_t startTimeInStat(std::string_view stat) {
  std::size_t position = stat.rfind(')');
  for (int field = kNameField; field < kStartTimeField && position != std::string_view::npos;
       ++field) {
    position = stat.find(' ', position + 1);
  }
  if (position == std::string_view::npos) return 0;
  std::uint64_t ticks = 0;
  std::from_chars(stat.data() + position + 1, stat.data() + stat.size(), ticks);
  return ticks;
}

std::optional<AuditToken> auditTokenOfPeer(int socket) {
  ucred credentials{};
  socklen_t size = sizeof(credentials);
  if (getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &credentials, &size) != 0) return std::nullopt;

  static std::atomic<std::uint32_t> serialNumber{0};
  AuditToken token;
  token.effectiveUserIdentifier = credentials.uid;
  token.effectiveGroupIdentifier = credentials.gid;
  token.processIdentifier = credentials.pid;
  token.serialNumber = ++serialNumber;
  token.processStartTime = startTimeOfProcess(credentials.pid);
  return token;
}

}  // namespace velto
