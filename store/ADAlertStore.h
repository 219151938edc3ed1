// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "alerts/AlertBundleSettings.h"
#include "alerts/AlertSequence.h"
#include "alerts/Recipients.h"
#include "alerts/VLAlert.h"
#include "platform/foundation/Error.h"
#include "platform/foundation/PropertyList.h"
#include "platform/persistence/ManagedObjectContext.h"
#include "store/ADAlert.h"
#include "store/ADAlertBundle.h"
#include "store/ADMailRecipient.h"
#include "store/ADPushRecipient.h"
#include "store/StoreContainer.h"

namespace velto {

struct FetchPart;

/// The domain of the store's own errors, and the one code that they have.
inline constexpr std::string_view kStoreErrorDomain = "VeltoAlertsStore";
inline constexpr int kStoreErrorCode = 100;

/// One bundle's delivery switches.
struct AlertBundleSwitches {
  std::optional<std::string> bundle;
  std::optional<bool> pushEnabled;
  std::optional<bool> mailEnabled;
};

/// The identifiers of alerts to look for, made ready once: however long the list is and however
/// often it is used, it is in memory once. A value; any thread.
class AlertIdentifiers {
 public:
  explicit AlertIdentifiers(std::vector<std::string> identifiers)
      : predicate_(Predicate::isIn("identifier", std::move(identifiers))) {}

  const Predicate& predicate() const { return predicate_; }

 private:
  Predicate predicate_;
};

/// A handle to the daemon's one store: made for one piece of work, used by one thread, dropped
/// after. The model and the coordinator behind it are shared by all handles of a container.
///
/// No record operation saves: the caller calls `save` once, and what is not saved when the handle
/// goes is dropped. The store's own errors ("not found") go only into a provided and still empty
/// slot; an error of a fetch or a save replaces what the slot held. The latter two have the domain
/// of the persistence. Where a key is given, the first record of it that the store comes to is
/// meant; the operations that change it are true when there was one.
class ADAlertStore {
 public:
  explicit ADAlertStore(StoreContainer& container);

  /// The language used where a recipient has none: that of the Shared DefaultLanguages. Any thread.
  static std::string preferredLocalizationIdentifier();

  /// The handle's context, made on first use. Without a store to open, a context on which every
  /// fetch and save fails.
  ManagedObjectContext& managedObjectContext();

  /// Writes everything pending in one transaction; true when it is on disk.
  bool save(ErrorSlot error);
  /// The same without waiting for other saves: until `completion` is called, possibly on another
  /// thread, nobody uses the handle. The completion must not wait for anything, nor throw; it may
  /// destroy the handle.
  void save(ErrorReply completion);

  // Look-ups by key; an absent key finds a record whose key is absent. One of several records of a
  // key is found. Nothing, without an error, when there is none.
  std::optional<ADAlert> getADAlertWithIdentifier(const std::optional<std::string>& identifier,
                                                  ErrorSlot error);
  std::optional<ADAlertBundle> getADAlertBundle(const std::optional<std::string>& bundle,
                                                ErrorSlot error);
  std::optional<ADMailRecipient> getADMailRecipientForAddress(
      const std::optional<std::string>& address, ErrorSlot error);
  std::optional<ADPushRecipient> getADPushRecipientWithGUID(const std::optional<std::string>& guid,
                                                            ErrorSlot error);
  std::optional<ADPushRecipient> getADPushRecipientWithToken(const std::optional<Data>& token,
                                                             ErrorSlot error);

  // Alerts. Listings are newest sent first, alerts without a sent date last; with an error in the
  // slot, be it from before, they are empty.
  void insertAlert(const VLAlert& alert);
  /// Overwrites the record of the alert's identifier, but for its identifier and creation date.
  /// What the alert lacks, the record lacks then.
  bool updateAlert(const std::optional<VLAlert>& alert, ErrorSlot error);
  /// Sets the read or the resolved date of the record of the identifier and leaves the rest of it
  /// alone; reports like updateAlert when there is none.
  bool markAlertAsRead(const std::optional<std::string>& identifier, Date date, ErrorSlot error);
  bool markAlertAsResolved(const std::optional<std::string>& identifier, Date date,
                           ErrorSlot error);
  /// The same for an alert that was read a while ago. A record that has been marked as resolved
  /// since then is left as it is: the result is false then, without an error.
  bool resolveAlert(const VLAlert& alert, Date date, ErrorSlot error);
  bool deleteAlert(const std::optional<VLAlert>& alert, ErrorSlot error);
  std::optional<VLAlert> getAlertWithIdentifier(const std::optional<std::string>& identifier,
                                                ErrorSlot error);
  /// The alerts that were sent, read or resolved after `from` and at or before `to`: any one of the
  /// three will do. Without `from`, at or before `to`; without `to`, it is the present time.
  std::vector<VLAlert> getAlertsFromDate(const std::optional<Date>& from,
                                         const std::optional<Date>& to, ErrorSlot error);
  std::vector<VLAlert> getAlertsOfType(const std::optional<std::string>& type, ErrorSlot error);
  std::vector<VLAlert> getAlertsOfBundle(const std::optional<std::string>& bundle, ErrorSlot error);
  // The same lists a few alerts at a time; see FetchCursor for what changes meanwhile. The first
  // few are read at once, so that the slot tells whether the list can be had. What they are read
  // with is independent of this handle. With changes that are not saved, they are in memory as a
  // whole.
  AlertSequence alertsFromDate(const std::optional<Date>& from, const std::optional<Date>& to,
                               ErrorSlot error);
  AlertSequence alertsOfType(const std::optional<std::string>& type, ErrorSlot error);
  AlertSequence alertsOfBundle(const std::optional<std::string>& bundle, ErrorSlot error);
  /// As objects of their bundles' classes. One whose bundle does not know it is left out, and the
  /// reason is in the slot.
  std::vector<std::unique_ptr<VLAlertSubclass>> getUnresolvedAlertSubclasses(ErrorSlot error);
  /// The plain alerts of those kinds that may have recovery actions, newest first and a few at a
  /// time. Which they are is decided at once; one that has been resolved since comes as it is.
  /// With an alert that its bundle does not know there are none, and the reason is in the slot.
  AlertSequence recoverableAlerts(ErrorSlot error);
  std::optional<VLAlert> getLastAlertOfType(const std::optional<std::string>& type,
                                            ErrorSlot error);
  std::optional<VLAlert> getLastAlertOfBundle(const std::optional<std::string>& bundle,
                                              ErrorSlot error);
  // Deletions give how many records they deleted: 0 also when the fetch fails. Up to 1,000 records
  // are deleted with the next save, like any other change. When there are more, and the handle has
  // no other changes, they are deleted at once, oldest first and in short transactions: a failure
  // in between is in the slot, and what was deleted before it stays deleted.
  /// Those that were sent before the date.
  std::uint64_t deleteAlertsBeforeDate(const std::optional<Date>& date, ErrorSlot error);
  /// All records of each identifier.
  std::uint64_t deleteAlertsWithIds(std::vector<std::string> identifiers, ErrorSlot error);
  std::uint64_t deleteAlertsWithIds(const AlertIdentifiers& identifiers, ErrorSlot error);
  /// The alerts of the bundles, by their identifiers; those without one stay. Nothing is deleted
  /// with an error in the slot, be it from before.
  std::uint64_t deleteAlertsWithBundleIDs(const std::vector<std::string>& bundles, ErrorSlot error);

  // Bundles, by bundle key.
  std::optional<AlertBundleSwitches> getAlertBundle(const std::optional<std::string>& bundle,
                                                    ErrorSlot error);
  /// With everything switched on.
  void insertAlertBundle(const std::string& bundle, const std::string& name);
  /// True when the name was changed; a name that is already the record's counts as not found.
  bool updateAlertBundle(const std::string& bundle, const std::string& name, ErrorSlot error);
  bool deleteAlertBundle(const std::optional<std::string>& bundle, ErrorSlot error);
  bool enableAlertBundle(const std::optional<std::string>& bundle, ErrorSlot error);
  bool disableAlertBundle(const std::optional<std::string>& bundle, ErrorSlot error);
  /// The keys of the bundles, not their display names.
  std::vector<std::string> getEnabledAlertBundleNames(ErrorSlot error);
  std::vector<std::string> getAllAlertBundleNames(ErrorSlot error);
  /// Those of the enabled bundles, by key.
  std::map<std::string, AlertBundleSettings> getAlertBundleSettings(ErrorSlot error);
  /// Sets the switches of the bundles named, also of disabled ones; an absent switch is off. Keys
  /// without a record, and names, count for nothing. True when a switch has changed.
  bool setAlertBundleSettings(const std::map<std::string, AlertBundleSettings>& settings,
                              ErrorSlot error);

  // Attributes, by name.
  std::map<std::string, std::string> getAttributes(ErrorSlot error);
  /// Sets the attributes named, and deletes those whose value is absent. A number is stored as its
  /// decimal text, a boolean as "1" or "0"; a date, data, an array or a dictionary has no such
  /// form: then nothing is set, with an error that names the attribute. True when there is
  /// something to save.
  bool setAttributes(const PropertyList::Dictionary& attributes, ErrorSlot error);

  // Mail recipients, by address.
  /// The enabled ones that have both an address and a locale.
  std::vector<MailRecipient> getMailRecipients(ErrorSlot error);
  /// The addresses of the enabled ones by localization identifier.
  std::map<std::string, std::vector<std::string>> getMailRecipientsByLocalization(ErrorSlot error);
  /// Without a locale, one is derived from the address; without an address, nothing happens. An
  /// address that is there already is inserted once more.
  void insertMailRecipientWithAddress(const std::optional<std::string>& address,
                                      const std::optional<std::string>& locale);
  bool deleteMailRecipientWithAddress(const std::optional<std::string>& address, ErrorSlot error);

  // Push recipients, by guid.
  /// All, also those that are not enabled.
  std::vector<PushRecipient> getPushRecipients(ErrorSlot error);
  /// The tokens of the enabled ones by localization identifier.
  std::map<std::string, std::vector<Data>> getPushRecipientsByLocalization(ErrorSlot error);
  /// Without a guid or a token, nothing happens. One that is there already is inserted once more.
  void insertPushRecipientWithName(const std::optional<std::string>& name,
                                   const std::optional<std::string>& guid,
                                   const std::optional<Data>& token,
                                   const std::optional<std::string>& locale);
  bool deletePushRecipientWithGUID(const std::optional<std::string>& guid, ErrorSlot error);
  bool enablePushRecipientWithGUID(const std::optional<std::string>& guid, ErrorSlot error);
  bool disablePushRecipientWithGUID(const std::optional<std::string>& guid, ErrorSlot error);

 private:
  bool hasChanges() const {
    return managedObjectContext_ != nullptr && managedObjectContext_->hasChanges();
  }
  std::optional<ADAlert> recordToUpdate(const std::optional<std::string>& identifier,
                                        ErrorSlot error);
  /// A list in parts, which is the same as the whole.
  AlertSequence sequence(std::vector<FetchPart> parts, const FetchRequest& whole, ErrorSlot error);
  std::vector<std::string> oldestIdentifiers(const std::string& bundle, ErrorSlot error);
  std::uint64_t deleteAlerts(const FetchRequest& request, ErrorSlot error);

  StoreContainer& container_;
  std::unique_ptr<ManagedObjectContext> managedObjectContext_;
};

}  // namespace velto
