// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <sys/types.h>

namespace velto {

/// The record that identifies a connection's peer process, taken when the client connected. 32
/// bytes.
struct AuditToken {
  std::uint32_t effectiveUserIdentifier = 0;
  std::uint32_t effectiveGroupIdentifier = 0;
  std::int32_t processIdentifier = 0;
  /// Tells connections of one process apart.
  std::uint32_t serialNumber = 0;
  /// When the process started, in clock ticks since boot (field 22 of /proc/PID/stat), 0 if
  /// unknown.
  std::uint64_t processStartTime = 0;
  std::uint64_t reserved = 0;
};

static_assert(sizeof(AuditToken) == 32);

/// The token of the process at the other end of a connected Unix socket. Nothing when the kernel
/// does not tell. Any thread.
std::optional<AuditToken> auditTokenOfPeer(int socket);

/// When the process with the id started, as in the token, 0 if unknown. Any thread.
std::uint64_t startTimeOfProcess(pid_t process);

/// The start time in the text of a /proc/PID/stat, 0 when it is not there.
std::uint64_t startTimeInStat(std::string_view stat);

}  // namespace velto
