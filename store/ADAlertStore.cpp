// SPDX-License-Identifier: Apache-2.0
#include "store/ADAlertStore.h"

#include <utility>

#include "platform/foundation/Shared.h"
#include "store/ADAlertStoreFetch.h"
#include "store/DefaultLanguages.h"

namespace velto {

Error storeError(std::string_view message) {
  return makeError(kStoreErrorDomain, kStoreErrorCode, message);
}

namespace {

/// Conflicts are settled by those who save again; without a store, every handle says so.
void logFailedSave(StoreContainer& container, const Error& failure) {
  if (failure.domain != kPersistenceErrorDomain ||
      (failure.code != kConflictErrorCode && failure.code != kNoStoreErrorCode)) {
    container.noteFailedSave(failure);
  }
}

}  // namespace

ADAlertStore::ADAlertStore(StoreContainer& container) : container_(container) {}

std::string ADAlertStore::preferredLocalizationIdentifier() {
  return Shared<DefaultLanguages>::object("ADAlertStore::preferredLocalizationIdentifier")
      .preferredLocalizationIdentifier();
}

ManagedObjectContext& ADAlertStore::managedObjectContext() {
  if (managedObjectContext_ == nullptr) {
    auto coordinator = container_.persistentStoreCoordinator();
    managedObjectContext_ = std::make_unique<ManagedObjectContext>();
    if (coordinator == nullptr) {
      container_.log().warning("Failed to initialize the store");
      managedObjectContext_->setWhyNoCoordinator("The store cannot be used: " +
                                                 container_.problem().value_or("not opened yet"));
    }
    managedObjectContext_->setPersistentStoreCoordinator(std::move(coordinator));
  }
  return *managedObjectContext_;
}

bool ADAlertStore::save(ErrorSlot error) {
  std::optional<Error> failure;
  if (managedObjectContext().save(&failure)) {
    return true;
  }
  logFailedSave(container_, *failure);
  replaceError(error, *std::move(failure));
  return false;
}

void ADAlertStore::save(ErrorReply completion) {
  managedObjectContext().save(
      [&container = container_, completion = std::move(completion)](std::optional<Error> failure) {
        if (failure) {
          logFailedSave(container, *failure);
        }
        completion(std::move(failure));
      });
}

std::optional<ADAlert> ADAlertStore::getADAlertWithIdentifier(
    const std::optional<std::string>& identifier, ErrorSlot error) {
  return firstWithKey<ADAlert>(managedObjectContext(), "identifier = %@", identifier, error);
}

std::optional<ADAlertBundle> ADAlertStore::getADAlertBundle(
    const std::optional<std::string>& bundle, ErrorSlot error) {
  return firstWithKey<ADAlertBundle>(managedObjectContext(), "bundle = %@", bundle, error);
}

std::optional<ADMailRecipient> ADAlertStore::getADMailRecipientForAddress(
    const std::optional<std::string>& address, ErrorSlot error) {
  return firstWithKey<ADMailRecipient>(managedObjectContext(), "address = %@", address, error);
}

std::optional<ADPushRecipient> ADAlertStore::getADPushRecipientWithGUID(
    const std::optional<std::string>& guid, ErrorSlot error) {
  return firstWithKey<ADPushRecipient>(managedObjectContext(), "guid = %@", guid, error);
}

std::optional<ADPushRecipient> ADAlertStore::getADPushRecipientWithToken(
    const std::optional<Data>& token, ErrorSlot error) {
  return firstWithKey<ADPushRecipient>(managedObjectContext(), "token = %@", token, error);
}

}  // namespace velto
