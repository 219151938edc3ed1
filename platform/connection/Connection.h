// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <sys/types.h>

#include "platform/connection/Interface.h"
#include "platform/identity/AuditToken.h"

namespace velto {

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
  virtual void setExportedObject(std::unique_ptr<ExportedObject> object) = 0;
  virtual void resume() = 0;
};

}  // namespace velto
