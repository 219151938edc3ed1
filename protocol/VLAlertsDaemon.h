// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "alerts/AlertBundleSettings.h"
#include "alerts/AlertSequence.h"
#include "alerts/Recipients.h"
#include "alerts/VLAlert.h"
#include "platform/connection/Interface.h"
#include "platform/foundation/Date.h"
#include "platform/foundation/Error.h"
#include "platform/foundation/PropertyList.h"

namespace velto {

/// A reply block: the data first, the error last; either may be absent. That of an operation
/// without data is an ErrorReply.
template <typename Result>
using Reply = std::function<void(std::optional<Result>, std::optional<Error>)>;

/// The operations that the daemon offers to its clients, in their declared order. An operation
/// calls its reply block exactly once, on every path, and lets no exception out. It may do so after
/// it has returned and on another thread, which then sends the reply and should not be kept long.
/// An object that does not offer an operation leaves it as it is here: the reply block goes without
/// having been called, and the client is told that the method is not implemented.
///
/// Calls of one connection come one at a time, each after the reply to the one before, on any
/// thread.
class VLAlertsDaemon : public ExportedObject {
 public:
  using Attributes = std::map<std::string, std::string>;
  using BundleSettings = std::map<std::string, AlertBundleSettings>;

  virtual void getAttributes(Reply<Attributes>) {}
  /// A value may be absent.
  virtual void setAttributes(std::optional<PropertyList::Dictionary> /*attributes*/, ErrorReply) {}
  virtual void postAlert(std::optional<VLAlert> /*alert*/, ErrorReply) {}
  /// The alerts are read as they are gone through, and can be until the operation returns.
  virtual void saveAlerts(std::optional<AlertSequence> /*alerts*/, ErrorReply) {}
  virtual void markAlertAsReadWithAlertId(std::optional<std::string> /*alertId*/, ErrorReply) {}
  virtual void markAlertAsResolvedWithAlertId(std::optional<std::string> /*alertId*/, ErrorReply) {}
  virtual void performRecoveryAction(std::optional<std::string> /*action*/,
                                     std::optional<std::string> /*alertId*/, ErrorReply) {}
  virtual void getAlertsFromDate(std::optional<Date> /*from*/, std::optional<Date> /*to*/,
                                 Reply<AlertSequence>) {}
  virtual void getAlertsOfType(std::optional<std::string> /*type*/, Reply<AlertSequence>) {}
  virtual void getAlertsOfBundle(std::optional<std::string> /*bundle*/, Reply<AlertSequence>) {}
  virtual void getLastAlertOfType(std::optional<std::string> /*type*/, Reply<VLAlert>) {}
  virtual void getLastAlertOfBundle(std::optional<std::string> /*bundle*/, Reply<VLAlert>) {}
  virtual void deleteAlertsBeforeDate(std::optional<Date> /*date*/, Reply<std::int64_t>) {}
  virtual void deleteAlertsWithIds(std::optional<std::vector<std::string>> /*alertIds*/,
                                   ErrorReply) {}
  virtual void deleteUnsupportedAlerts(Reply<std::uint64_t>) {}
  virtual void enableAlertBundle(std::optional<std::string> /*bundle*/, ErrorReply) {}
  virtual void disableAlertBundle(std::optional<std::string> /*bundle*/, ErrorReply) {}
  virtual void getAlertBundleNames(Reply<std::vector<std::string>>) {}
  virtual void getAlertBundleSettings(Reply<BundleSettings>) {}
  virtual void setAlertBundleSettings(std::optional<BundleSettings> /*settings*/, ErrorReply) {}
  virtual void getMailRecipients(Reply<std::vector<MailRecipient>>) {}
  virtual void setMailRecipients(std::optional<std::vector<MailRecipient>> /*recipients*/,
                                 ErrorReply) {}
  virtual void addMailRecipients(std::optional<std::vector<MailRecipientOrAddress>> /*recipients*/,
                                 ErrorReply) {}
  virtual void getPushRecipients(Reply<std::vector<PushRecipient>>) {}
  virtual void setPushRecipients(std::optional<std::vector<PushRecipient>> /*recipients*/,
                                 ErrorReply) {}
  /// An element that is not a recipient is absent.
  virtual void addPushRecipients(
      std::optional<std::vector<std::optional<PushRecipient>>> /*recipients*/, ErrorReply) {}
};

/// The protocol that VLAlertsDaemon is: its methods' rows, in order, and the interface file's text.
const Protocol& alertsDaemonProtocol();

}  // namespace velto
