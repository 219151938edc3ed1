// The people to notify.

#include <algorithm>
#include <utility>

#include "daemon/AlertsDaemon.h"
#include "store/ADAlertStore.h"

namespace velto {
namespace {

MailRecipient recipientFrom(MailRecipientOrAddress&& element) {
  if (auto* recipient = std::get_if<MailRecipient>(&element)) {
    return std::move(*recipient);
  }
  return {.address = std::get<std::string>(std::move(element)), .locale = std::nullopt};
}

bool isListed(const std::vector<MailRecipient>& existing,
              const std::optional<std::string>& address) {
  return address && std::any_of(existing.begin(), existing.end(), [&](const MailRecipient& entry) {
           return entry.address == address;
         });
}

}  // namespace

void AlertsDaemon::getMailRecipients(Reply<std::vector<MailRecipient>> reply) {
  if (!isRoot()) {
    reply(std::nullopt, privilegeError());
    return;
  }
  ADAlertStore store(services_.stores);
  std::optional<Error> error;
  auto recipients = store.getMailRecipients(&error);
  reply(std::move(recipients), std::move(error));
}

void AlertsDaemon::addMailRecipients(std::optional<std::vector<MailRecipientOrAddress>> recipients,
                                     ErrorReply reply) {
  if (!isRoot()) {
    reply(privilegeError());
    return;
  }
  ADAlertStore store(services_.stores);
  std::optional<Error> error;
  const auto existing = store.getMailRecipients(&error);
  bool inserted = false;
  if (recipients) {
    for (MailRecipientOrAddress& element : *recipients) {
      const MailRecipient recipient = recipientFrom(std::move(element));
      // Only what was stored before counts: an address that stands twice in the input goes in
      // twice.
      if (!isListed(existing, recipient.address)) {
        store.insertMailRecipientWithAddress(recipient.address, recipient.locale);
        inserted = true;
      }
    }
  }
  if (inserted) {
    store.save(&error);
  }
  reply(std::move(error));
}

}  // namespace velto
