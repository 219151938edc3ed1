// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <memory>
#include <sys/types.h>

#include "platform/connection/Interface.h"
#include "platform/identity/AuditToken.h"

namespace velto {

/// The most bytes that any call may have, not counting the NUL that ends it.
inline constexpr std::size_t kMaximumCallSize = std::size_t{16} * 1024 * 1024;

/// One client's connection, as the listener's delegate sees it when it is new: it has the caller's
/// credentials as the kernel noted them when the client connected, and takes what is exported to
/// the client. Once resumed it belongs to the connection layer, which serves its calls one after
/// the other, in order, and keeps the exported object until the client is gone.
///
/// Set up by one thread, before resume.
class Connection {
 public:
  virtual ~Connection() = default;

  virtual uid_t effectiveUserIdentifier() const = 0;
  virtual gid_t effectiveGroupIdentifier() const = 0;
  /// The record that identifies the peer process; it lives as long as the connection.
  virtual const AuditToken& auditToken() const = 0;

  /// Shared with other connections; not changed any more.
  virtual void setExportedInterface(std::shared_ptr<const Interface> exported) = 0;
  /// The most bytes that a call of this client may have, kMaximumCallSize unless it is set. A
  /// longer one ends the connection.
  virtual void setMaximumCallSize(std::size_t bytes) = 0;
  /// The object that the calls of the interface's next protocol are for: called once for each, in
  /// their order.
  virtual void addExportedObject(std::unique_ptr<ExportedObject> object) = 0;
  virtual void resume() = 0;
};

}  // namespace velto
