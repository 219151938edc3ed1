// SPDX-License-Identifier: Apache-2.0
// The recipient records of ADAlertStore.

#include "store/ADAlertStore.h"
#include "store/ADAlertStoreFetch.h"
#include "store/DefaultLanguages.h"

namespace velto {
namespace {

/// What `valueOf` returns for each record, by the record's localization. A record that it gives
/// nothing for cannot be reached and is left out.
template <typename Object, typename ValueOf>
auto byLocalization(const std::vector<Object>& records, const DefaultLanguages& languages,
                    ValueOf valueOf) {
  using Value = typename decltype(valueOf(records.front()))::value_type;
  std::map<std::string, std::vector<Value>> values;
  for (const Object& record : records) {
    auto localization = record.localization();
    if (!localization || localization->empty()) {
      localization = languages.preferredLocalizationIdentifier();
    }
    if (auto value = valueOf(record)) {
      values[*localization].push_back(std::move(*value));
    }
  }
  return values;
}

/// Reports it, and is what the operation returns then.
bool missing(ErrorSlot error, std::string_view operation, const std::optional<std::string>& key) {
  setIfEmpty(error, storeError(std::string(operation) + " '" + keyText(key) + "' not found."));
  return false;
}

}  // namespace

std::vector<MailRecipient> ADAlertStore::getMailRecipients(ErrorSlot error) {
  std::vector<MailRecipient> recipients;
  for (const auto& record : enabledObjects<ADMailRecipient>(managedObjectContext(), error)) {
    MailRecipient recipient{record.address(), record.localization()};
    if (recipient.address && recipient.locale) {
      recipients.push_back(std::move(recipient));
    }
  }
  return recipients;
}

std::map<std::string, std::vector<std::string>> ADAlertStore::getMailRecipientsByLocalization(
    ErrorSlot error) {
  return byLocalization(enabledObjects<ADMailRecipient>(managedObjectContext(), error),
                        container_.languages(),
                        [](const ADMailRecipient& record) { return record.address(); });
}

void ADAlertStore::insertMailRecipientWithAddress(const std::optional<std::string>& address,
                                                  const std::optional<std::string>& locale) {
  if (!address) {
    return;
  }
  auto& context = managedObjectContext();
  auto record = context.insertNewObject<ADMailRecipient>(ADMailRecipient::kEntityName);
  record.setAddress(address);
  record.setEnabled(true);
  record.setLocalization(
      locale ? *locale : container_.languages().defaultLocalizationForEmailAddress(*address));
}

bool ADAlertStore::deleteMailRecipientWithAddress(const std::optional<std::string>& address,
                                                  ErrorSlot error) {
  const auto record = getADMailRecipientForAddress(address, error);
  if (!record) {
    return missing(error, "Delete Mail Recipient: Address", address);
  }
  managedObjectContext().deleteObject(*record);
  return true;
}

std::vector<PushRecipient> ADAlertStore::getPushRecipients(ErrorSlot error) {
  std::vector<PushRecipient> recipients;
  for (const auto& record : allObjects<ADPushRecipient>(managedObjectContext(), error)) {
    recipients.push_back({.guid = record.guid(),
                          .token = record.token(),
                          .name = record.name(),
                          .locale = record.localization(),
                          .enabled = record.enabled()});
  }
  return recipients;
}

std::map<std::string, std::vector<Data>> ADAlertStore::getPushRecipientsByLocalization(
    ErrorSlot error) {
  return byLocalization(enabledObjects<ADPushRecipient>(managedObjectContext(), error),
                        container_.languages(),
                        [](const ADPushRecipient& record) { return record.token(); });
}

void ADAlertStore::insertPushRecipientWithName(const std::optional<std::string>& name,
                                               const std::optional<std::string>& guid,
                                               const std::optional<Data>& token,
                                               const std::optional<std::string>& locale) {
  if (!guid || !token) {
    return;
  }
  auto& context = managedObjectContext();
  auto record = context.insertNewObject<ADPushRecipient>(ADPushRecipient::kEntityName);
  record.setGuid(guid);
  record.setToken(token);
  record.setName(name.value_or("Unkown"));  // existing stores and their readers know it so
  record.setEnabled(true);
  record.setLocalization(locale ? *locale
                                : container_.languages().preferredLocalizationIdentifier());
}

bool ADAlertStore::deletePushRecipientWithGUID(const std::optional<std::string>& guid,
                                               ErrorSlot error) {
  const auto record = getADPushRecipientWithGUID(guid, error);
  if (!record) {
    return missing(error, "Delete Push Recipient: guid", guid);
  }
  managedObjectContext().deleteObject(*record);
  return true;
}

bool ADAlertStore::enablePushRecipientWithGUID(const std::optional<std::string>& guid,
                                               ErrorSlot error) {
  auto record = getADPushRecipientWithGUID(guid, error);
  if (!record) {
    return missing(error, "Enable Push Recipient: guid", guid);
  }
  record->setEnabled(true);
  return true;
}

bool ADAlertStore::disablePushRecipientWithGUID(const std::optional<std::string>& guid,
                                                ErrorSlot error) {
  auto record = getADPushRecipientWithGUID(guid, error);
  if (!record) {
    return missing(error, "Disable Push Recipient: guid", guid);
  }
  record->setEnabled(false);
  return true;
}

}  // namespace velto
