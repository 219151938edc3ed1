#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/foundation/Error.h"
#include "platform/foundation/Recipients.h"
#include "platform/foundation/VLAlert.h"
#include "platform/persistence/ManagedObjectContext.h"
#include "store/ADAlert.h"
#include "store/ADAlertBundle.h"
#include "store/ADMailRecipient.h"
#include "store/ADPushRecipient.h"
#include "store/StoreContainer.h"

namespace velto {

/// The domain of the store's own errors, and the one code that they have.
inline constexpr std::string_view kStoreErrorDomain = "VeltoAlertsStore";
inline constexpr int kStoreErrorCode = 100;

/// One bundle's delivery switches.
struct AlertBundleSwitches {
  std::optional<std::string> bundle;
  std::optional<bool> pushEnabled;
  std::optional<bool> mailEnabled;
};

/// A handle to the daemon's one store: made for one piece of work, used by one thread, dropped
/// after. The model and the coordinator behind it are shared by all handles of a container.
///
/// No record operation saves: the caller calls `save` once, and what is not saved when the handle
/// goes is dropped. The store's own errors ("not found") go only into a provided and still empty
/// slot; an error of a fetch or a save replaces what the slot held. The latter two have the domain
/// of the persistence.
class ADAlertStore {
 public:
  explicit ADAlertStore(StoreContainer& container = StoreContainer::shared());

  /// The language used where a recipient has none: the best of those that the first bundle of the
  /// alerts directory carries for the user's preferred languages, or with no bundle there the first
  /// preferred language. Reads the directory at every call. Any thread.
  static std::string preferredLocalizationIdentifier();

  /// The handle's context, made on first use. Without a store to open, a context on which every
  /// fetch and save fails.
  ManagedObjectContext& managedObjectContext();

  /// Writes everything pending in one transaction; true when it is on disk.
  bool save(ErrorSlot error);

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
  std::vector<VLAlert> getAlertsOfType(const std::optional<std::string>& type, ErrorSlot error);
  std::vector<VLAlert> getAlertsOfBundle(const std::optional<std::string>& bundle, ErrorSlot error);
  std::optional<VLAlert> getLastAlertOfType(const std::optional<std::string>& type,
                                            ErrorSlot error);
  std::optional<VLAlert> getLastAlertOfBundle(const std::optional<std::string>& bundle,
                                              ErrorSlot error);

  // Bundles, by bundle key.
  std::optional<AlertBundleSwitches> getAlertBundle(const std::optional<std::string>& bundle,
                                                    ErrorSlot error);
  void insertAlertBundle(const std::string& bundle, const std::string& name);
  /// True when the name was changed; a name that is already the record's counts as not found.
  bool updateAlertBundle(const std::string& bundle, const std::string& name, ErrorSlot error);
  bool deleteAlertBundle(const std::string& bundle, ErrorSlot error);
  /// The keys of the bundles, not their display names.
  std::vector<std::string> getEnabledAlertBundleNames(ErrorSlot error);
  std::vector<std::string> getAllAlertBundleNames(ErrorSlot error);

  // Mail recipients.
  /// The enabled ones that have both an address and a locale.
  std::vector<MailRecipient> getMailRecipients(ErrorSlot error);
  /// The addresses of the enabled ones by localization identifier.
  std::map<std::string, std::vector<std::string>> getMailRecipientsByLocalization(ErrorSlot error);
  /// Without a locale, one is derived from the address; without an address, nothing happens. An
  /// address that is there already is inserted once more.
  void insertMailRecipient(const std::optional<std::string>& address,
                           const std::optional<std::string>& locale);

 private:
  StoreContainer& container_;
  std::unique_ptr<ManagedObjectContext> managedObjectContext_;
};

}  // namespace velto
