// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "alerts/AlertBundleRegistry.h"
#include "delivery/ADAlertMailer.h"
#include "delivery/ADAlertPusher.h"
#include "platform/foundation/Clock.h"
#include "platform/foundation/Log.h"
#include "protocol/VLAlertsDaemon.h"
#include "store/ADAlertStore.h"
#include "store/SettledChange.h"
#include "store/StoreContainer.h"

namespace velto {

inline constexpr int kInsufficientPrivilegesCode = 103;
inline constexpr int kInsufficientEntitlementsCode = 150;
inline constexpr int kMissingInputCode = 203;

/// What the service objects of all connections share. Every part may be used from any thread and
/// outlives the objects.
struct AlertsDaemonServices {
  StoreContainer& stores;
  AlertBundleRegistry& bundles;
  ADAlertPusher& pusher;
  ADAlertMailer& mailer;
  const Clock& clock;
  Log& log;
};

/// The object that a connection exports: checks every call against the role that its caller was
/// admitted with, and carries it out on a store handle of its own. The role is fixed when the
/// object is made. Keeps nothing between calls, so calls may come from any thread.
class AlertsDaemon : public VLAlertsDaemon {
 public:
  /// A caller without rights.
  static std::unique_ptr<AlertsDaemon> init(const AlertsDaemonServices& services);
  /// A caller that may do everything.
  static std::unique_ptr<AlertsDaemon> initAsRoot(const AlertsDaemonServices& services);
  /// A trusted service account: may post and query alerts of every bundle.
  static std::unique_ptr<AlertsDaemon> initAsPrivileged(const AlertsDaemonServices& services);
  /// A caller that may post and query alerts of the bundles in the list, which is taken as it
  /// stands.
  static std::unique_ptr<AlertsDaemon> initWithBundleEntitlements(
      const AlertsDaemonServices& services, PropertyList::Array bundles);

  bool isRoot() const { return isRoot_; }
  bool isPrivileged() const { return isPrivileged_; }
  /// Absent for the roles that have no list.
  const std::optional<PropertyList::Array>& bundles() const { return bundles_; }

  /// The error of a call that the role does not admit.
  Error privilegeError() const;

  /// Asks the recovery actions of every unresolved alert whether its condition has gone away, and
  /// marks those alerts as resolved then, on handles of its own. Returns them, once for each action
  /// that says so, or nothing when the unresolved alerts cannot be read. An alert that others have
  /// resolved or deleted meanwhile is left as it is, and is not among them. An action that fails
  /// does not end the round; the slot shows the last failure.
  std::optional<std::vector<VLAlert>> updateUnresolvedAlerts(ADAlertStore& store,
                                                             std::optional<Error>& error) const;
  /// The plain alerts behind objects of their bundles' classes.
  static std::vector<VLAlert> removeSubclasses(
      const std::vector<std::unique_ptr<VLAlertSubclass>>& alerts);

  void getAttributes(Reply<Attributes> reply) override;
  void setAttributes(std::optional<PropertyList::Dictionary> attributes, ErrorReply reply) override;
  void postAlert(std::optional<VLAlert> alert, ErrorReply reply) override;
  void saveAlerts(std::optional<AlertSequence> alerts, ErrorReply reply) override;
  void markAlertAsReadWithAlertId(std::optional<std::string> alertId, ErrorReply reply) override;
  void markAlertAsResolvedWithAlertId(std::optional<std::string> alertId,
                                      ErrorReply reply) override;
  void performRecoveryAction(std::optional<std::string> action, std::optional<std::string> alertId,
                             ErrorReply reply) override;
  void getAlertsFromDate(std::optional<Date> from, std::optional<Date> to,
                         Reply<AlertSequence> reply) override;
  void getAlertsOfType(std::optional<std::string> type, Reply<AlertSequence> reply) override;
  void getAlertsOfBundle(std::optional<std::string> bundle, Reply<AlertSequence> reply) override;
  void getLastAlertOfType(std::optional<std::string> type, Reply<VLAlert> reply) override;
  void getLastAlertOfBundle(std::optional<std::string> bundle, Reply<VLAlert> reply) override;
  void deleteAlertsBeforeDate(std::optional<Date> date, Reply<std::int64_t> reply) override;
  void deleteAlertsWithIds(std::optional<std::vector<std::string>> alertIds,
                           ErrorReply reply) override;
  void deleteUnsupportedAlerts(Reply<std::uint64_t> reply) override;
  void enableAlertBundle(std::optional<std::string> bundle, ErrorReply reply) override;
  void disableAlertBundle(std::optional<std::string> bundle, ErrorReply reply) override;
  void getAlertBundleNames(Reply<std::vector<std::string>> reply) override;
  void getAlertBundleSettings(Reply<BundleSettings> reply) override;
  void setAlertBundleSettings(std::optional<BundleSettings> settings, ErrorReply reply) override;
  void getMailRecipients(Reply<std::vector<MailRecipient>> reply) override;
  void setMailRecipients(std::optional<std::vector<MailRecipient>> recipients,
                         ErrorReply reply) override;
  void addMailRecipients(std::optional<std::vector<MailRecipientOrAddress>> recipients,
                         ErrorReply reply) override;
  void getPushRecipients(Reply<std::vector<PushRecipient>> reply) override;
  void setPushRecipients(std::optional<std::vector<PushRecipient>> recipients,
                         ErrorReply reply) override;
  void addPushRecipients(std::optional<std::vector<std::optional<PushRecipient>>> recipients,
                         ErrorReply reply) override;

 protected:
  AlertsDaemon(const AlertsDaemonServices& services, bool isRoot, bool isPrivileged,
               std::optional<PropertyList::Array> bundles);

  /// The domain of the errors made here.
  virtual std::string className() const { return "AlertsDaemon"; }

 private:
  /// Whether the role may work with alerts of every bundle.
  bool isUnrestricted() const { return isRoot_ || isPrivileged_; }
  bool hasBundles() const { return bundles_ && !bundles_->empty(); }
  bool isEntitledTo(const std::optional<std::string>& bundle) const;
  Error error(int code, std::string_view description) const;

  /// Works on a store handle of its own, for root alone, and replies with what the work leaves in
  /// the error slot.
  template <typename Work>
  void asRoot(const ErrorReply& reply, Work work) {
    if (!isRoot()) {
      reply(privilegeError());
      return;
    }
    ADAlertStore store(services_.stores);
    std::optional<Error> error;
    work(store, error);
    reply(std::move(error));
  }
  /// The same for work that has a result.
  template <typename Result, typename Work>
  void asRoot(const Reply<Result>& reply, Work work) {
    if (!isRoot()) {
      reply(std::nullopt, privilegeError());
      return;
    }
    ADAlertStore store(services_.stores);
    std::optional<Error> error;
    std::optional<Result> result = work(store, error);
    reply(std::move(result), std::move(error));
  }
  /// Carries out a change of records, for root alone, and saves it: see saveSettled. `work` leaves
  /// an error in the slot for the reply, and returns whether there is something to save. That a
  /// save has failed is in the reply when `failure` says so.
  enum class SaveFailure { kTold, kNotTold };
  template <typename Work>
  void changeAsRoot(const ErrorReply& reply, SaveFailure failure, Work work) {
    if (!isRoot()) {
      reply(privilegeError());
      return;
    }
    std::optional<Error> error;
    change(error, failure, work);
    reply(std::move(error));
  }
  template <typename Work>
  void change(std::optional<Error>& error, SaveFailure failure, Work work) const {
    const std::optional<Error> earlier = error;
    auto unsaved = saveSettled(services_.stores, [&](ADAlertStore& store) {
      error = earlier;
      return work(store, error);
    });
    if (unsaved && failure == SaveFailure::kTold) {
      error = std::move(unsaved);
    }
  }

  void post(VLAlert& alert, ErrorReply reply);
  using Mark = bool (ADAlertStore::*)(const std::optional<std::string>&, Date, ErrorSlot);
  void mark(const std::optional<std::string>& alertId, Mark set, const ErrorReply& reply);
  void recover(const std::string& action, const VLAlert& alert, std::optional<Error>& error) const;
  /// An alert as it was read, and when its actions said that it is resolved.
  struct ResolvedAlert {
    VLAlert alert;
    std::vector<Date> dates;
  };
  std::vector<Date> datesOfResolution(const VLAlert& alert, std::optional<Error>& error) const;
  std::vector<VLAlert> saveResolved(std::span<const ResolvedAlert> resolved,
                                    std::optional<Error>& error) const;
  static std::vector<VLAlert> stampedAlerts(std::span<const ResolvedAlert> resolved,
                                            ADAlertStore& store);
  bool hasBeenResolved(const std::string& option, const VLAlert& alert,
                       std::optional<Error>& error) const;

  const AlertsDaemonServices services_;
  const bool isRoot_;
  const bool isPrivileged_;
  const std::optional<PropertyList::Array> bundles_;
};

}  // namespace velto
