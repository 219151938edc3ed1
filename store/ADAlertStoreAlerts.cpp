// SPDX-License-Identifier: Apache-2.0
// The single alert records of ADAlertStore.

#include "store/ADAlertAdditions.h"
#include "store/ADAlertStore.h"
#include "store/ADAlertStoreFetch.h"

namespace velto {
namespace {

Error alertNotFound() {
  return storeError("Update Alert: Alert not found.");
}

}  // namespace

void ADAlertStore::insertAlert(const VLAlert& alert) {
  insertADAlertObjectInManagedObjectContext(alert, managedObjectContext());
}

std::optional<ADAlert> ADAlertStore::recordToUpdate(const std::optional<std::string>& identifier,
                                                    ErrorSlot error) {
  auto record = getADAlertWithIdentifier(identifier, error);
  if (!record) {
    setIfEmpty(error, alertNotFound());
  }
  return record;
}

bool ADAlertStore::updateAlert(const std::optional<VLAlert>& alert, ErrorSlot error) {
  if (!alert) {
    setIfEmpty(error, alertNotFound());
    return false;
  }
  auto record = recordToUpdate(alert->identifier, error);
  if (!record) {
    return false;
  }
  record->setType(alert->type);
  record->setBundle(alert->bundle);
  record->setSentDate(alert->sentDate);
  record->setReadDate(alert->readDate);
  record->setResolvedDate(alert->resolvedDate);
  record->setAttributes(encodedAttributes(alert->attributes));
  return true;
}

bool ADAlertStore::markAlertAsRead(const std::optional<std::string>& identifier, Date date,
                                   ErrorSlot error) {
  auto record = recordToUpdate(identifier, error);
  if (record) {
    record->setReadDate(date);
  }
  return record.has_value();
}

bool ADAlertStore::markAlertAsResolved(const std::optional<std::string>& identifier, Date date,
                                       ErrorSlot error) {
  auto record = recordToUpdate(identifier, error);
  if (record) {
    record->setResolvedDate(date);
  }
  return record.has_value();
}

bool ADAlertStore::resolveAlert(const VLAlert& alert, Date date, ErrorSlot error) {
  auto record = recordToUpdate(alert.identifier, error);
  if (!record || record->resolvedDate() != alert.resolvedDate) {
    return false;
  }
  record->setResolvedDate(date);
  return true;
}

bool ADAlertStore::deleteAlert(const std::optional<VLAlert>& alert, ErrorSlot error) {
  const auto record = alert ? getADAlertWithIdentifier(alert->identifier, error) : std::nullopt;
  if (!record) {
    const auto identifier = alert ? alert->identifier : std::nullopt;
    setIfEmpty(error, storeError("Delete Alert: Alert '" + keyText(identifier) + "' not found."));
    return false;
  }
  managedObjectContext().deleteObject(*record);
  return true;
}

std::optional<VLAlert> ADAlertStore::getAlertWithIdentifier(
    const std::optional<std::string>& identifier, ErrorSlot error) {
  const auto record = getADAlertWithIdentifier(identifier, error);
  return record ? std::optional(initWithADAlert(*record)) : std::nullopt;
}

}  // namespace velto
