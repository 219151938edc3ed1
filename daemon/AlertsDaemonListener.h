// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <set>
#include <string>
#include <sys/types.h>

#include "daemon/AlertsDaemon.h"
#include "daemon/AlertsMonitor.h"
#include "platform/connection/Listener.h"
#include "platform/events/VLEDaemonClient.h"
#include "platform/foundation/FileManager.h"
#include "platform/foundation/LimitedLog.h"
#include "platform/identity/CodeSigning.h"

namespace velto {

/// What the listener works with besides the services; all of it may be used from any thread and
/// outlives the listener.
struct AlertsDaemonListenerSeams {
  CodeSigning& codeSigning;
  const FileManager& fileManager;
  std::string alertsDirectory;
  VLEDaemonClient& events;
};

/// Admits every connection, with the role that its caller's credentials give, and brings the
/// store's bundle records into line with the alerts directory, when it is made and on every reload.
/// Admissions may come on any thread.
class AlertsDaemonListener : public ListenerDelegate {
 public:
  /// Discovers the alert bundles; an error of that does not keep it from serving.
  AlertsDaemonListener(const AlertsDaemonServices& services, const AlertsMonitorServices& watching,
                       const AlertsDaemonListenerSeams& seams);

  /// Updates the records of the bundles in the alerts directory, inserts new ones, deletes those
  /// that have no bundle any more, and saves once. The error, if any, is that of reading the
  /// directory, in which case the store is untouched, or of reading the store's bundles. The events
  /// service is asked to load each new bundle and then to enable it; nobody waits for that.
  std::optional<Error> loadAlertBundles();

  /// Looks for the alert bundles again, as at the start, and has those in use read anew, beside the
  /// calls under way; what goes wrong is logged. Any thread, one at a time.
  void reload() noexcept;

  /// The effective user ids of the trusted service accounts.
  static std::set<uid_t> allowedUIDs();
  bool isPrivilegedUID(uid_t uid) const;

  /// The bundles that the caller is entitled to, as its entitlement lists them; nothing when it has
  /// no such entitlement or that cannot be found out.
  std::optional<PropertyList::Array> entitledBundlesForAuditToken(const AuditToken& token) const;

  bool shouldAcceptNewConnection(Listener& listener, Connection& connection) override;
  void didReceiveNoCall(const Connection& connection, std::string_view what) override;

 private:
  std::optional<Error> discover(ErrorSlot saveError);
  std::unique_ptr<AlertsDaemon> serviceObject(const Connection& connection) const;
  void tellOfCaller(const AuditToken& token) const;

  const AlertsDaemonServices services_;
  const AlertsMonitorServices watching_;
  const AlertsDaemonListenerSeams seams_;
  const std::shared_ptr<const Interface> exported_;
  LimitedLog repeatedLines_{services_.log, services_.clock};
  /// Shared with what waits for the events service, which may answer when this has gone.
  const std::shared_ptr<LimitedLog> dailyLog_ =
      std::make_shared<LimitedLog>(services_.log, services_.clock, LimitedLog::kDay);
};

}  // namespace velto
