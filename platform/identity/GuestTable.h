// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "platform/foundation/FileDescriptor.h"
#include "platform/foundation/Mutex.h"
#include "platform/identity/AuditToken.h"

namespace velto {

/// What the kernel says of the process that connected a socket, as of that moment.
struct Guest {
  AuditToken token;
  /// Refers to that very process, also when its id is used again. Not open where the kernel has no
  /// SO_PEERPIDFD, or no descriptor is left.
  FileDescriptor process;
  /// The security label, where there are such.
  std::optional<std::string> label;
};

/// The audit tokens by whose address a guest can be looked up at the moment, each with the socket
/// of its connection. Any thread.
class GuestTable {
 public:
  /// Keeps a token in the table as long as it lives itself. The socket must stay open until then.
  class Entry {
   public:
    Entry(GuestTable& table, const AuditToken& token, int socket);
    ~Entry();
    Entry(const Entry&) = delete;
    Entry& operator=(const Entry&) = delete;

   private:
    GuestTable& table_;
    const std::uintptr_t address_;
  };

  /// The guest whose token is at the address; nothing when none is. The address is only compared.
  std::optional<Guest> guestAt(std::uintptr_t address) const;

 private:
  struct Live {
    AuditToken token;
    int socket;
  };

  mutable Mutex mutex_;
  std::map<std::uintptr_t, Live> live_ VELTO_GUARDED_BY(mutex_);
};

/// Whether the process that a pidfd refers to has not ended.
bool isAlive(const FileDescriptor& process);

}  // namespace velto
