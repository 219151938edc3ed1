// The recipient records of ADAlertStore.

#include "store/ADAlertStore.h"
#include "store/ADAlertStoreFetch.h"
#include "store/DefaultLanguages.h"

namespace velto {

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
  std::map<std::string, std::vector<std::string>> addresses;
  for (const auto& record : enabledObjects<ADMailRecipient>(managedObjectContext(), error)) {
    auto localization = record.localization();
    if (!localization || localization->empty()) {
      localization = preferredLocalizationIdentifier();
    }
    // A record without an address has nobody to write to.
    if (auto address = record.address()) {
      addresses[*localization].push_back(std::move(*address));
    }
  }
  return addresses;
}

void ADAlertStore::insertMailRecipient(const std::optional<std::string>& address,
                                       const std::optional<std::string>& locale) {
  if (!address) {
    return;
  }
  auto& context = managedObjectContext();
  auto record = context.insertNewObject<ADMailRecipient>(ADMailRecipient::kEntityName);
  record.setAddress(address);
  record.setEnabled(true);
  record.setLocalization(locale ? *locale : defaultLocalizationForEmailAddress(*address));
}

}  // namespace velto
