// SPDX-License-Identifier: Apache-2.0
// The people to notify.
//
// An incoming recipient is matched against those that were stored before the call, never against
// what the call itself inserts: a key that stands twice in the input goes in twice.

#include <algorithm>
#include <utility>

#include "daemon/AlertsDaemon.h"
#include "daemon/LatestError.h"
#include "store/ADAlertStore.h"

namespace velto {
namespace {

MailRecipient recipientFrom(MailRecipientOrAddress&& element) {
  if (auto* recipient = std::get_if<MailRecipient>(&element)) {
    return std::move(*recipient);
  }
  return {.address = std::get<std::string>(std::move(element)), .locale = std::nullopt};
}

/// Whether a recipient has the same key as another. One without a key matches nothing.
template <typename Recipient>
auto sameAs(const Recipient& incoming, std::optional<std::string> Recipient::*key) {
  return [&incoming, key](const Recipient& existing) {
    return incoming.*key && existing.*key == incoming.*key;
  };
}

}  // namespace

void AlertsDaemon::getMailRecipients(Reply<std::vector<MailRecipient>> reply) {
  asRoot(reply, [](ADAlertStore& store, std::optional<Error>& error) {
    return store.getMailRecipients(&error);
  });
}

void AlertsDaemon::setMailRecipients(std::optional<std::vector<MailRecipient>> recipients,
                                     ErrorReply reply) {
  asRoot(reply, [&](ADAlertStore& store, std::optional<Error>& error) {
    auto existing = store.getMailRecipients(&error);
    const auto remove = [&](const std::optional<std::string>& address) {
      withLatestError(error, [&](ErrorSlot slot) {
        return store.deleteMailRecipientWithAddress(address, slot);
      });
    };
    for (const MailRecipient& recipient :
         std::move(recipients).value_or(std::vector<MailRecipient>())) {
      if (std::erase_if(existing, sameAs(recipient, &MailRecipient::address)) > 0) {
        remove(recipient.address);
      }
      store.insertMailRecipientWithAddress(recipient.address, recipient.locale);
    }
    for (const MailRecipient& left : existing) {
      remove(left.address);
    }
    withLatestError(error, [&](ErrorSlot slot) { return store.save(slot); });
  });
}

void AlertsDaemon::addMailRecipients(std::optional<std::vector<MailRecipientOrAddress>> recipients,
                                     ErrorReply reply) {
  asRoot(reply, [&](ADAlertStore& store, std::optional<Error>& error) {
    const auto existing = store.getMailRecipients(&error);
    bool inserted = false;
    for (auto&& element : std::move(recipients).value_or(std::vector<MailRecipientOrAddress>())) {
      const MailRecipient recipient = recipientFrom(std::move(element));
      if (std::none_of(existing.begin(), existing.end(),
                       sameAs(recipient, &MailRecipient::address))) {
        store.insertMailRecipientWithAddress(recipient.address, recipient.locale);
        inserted = true;
      }
    }
    if (inserted) {
      withLatestError(error, [&](ErrorSlot slot) { return store.save(slot); });
    }
  });
}

void AlertsDaemon::getPushRecipients(Reply<std::vector<PushRecipient>> reply) {
  asRoot(reply, [](ADAlertStore& store, std::optional<Error>& error) {
    return store.getPushRecipients(&error);
  });
}

void AlertsDaemon::setPushRecipients(std::optional<std::vector<PushRecipient>> recipients,
                                     ErrorReply reply) {
  asRoot(reply, [&](ADAlertStore& store, std::optional<Error>& error) {
    auto existing = store.getPushRecipients(&error);
    const auto remove = [&](const std::optional<std::string>& guid) {
      withLatestError(
          error, [&](ErrorSlot slot) { return store.deletePushRecipientWithGUID(guid, slot); });
    };
    for (const PushRecipient& recipient :
         std::move(recipients).value_or(std::vector<PushRecipient>())) {
      if (std::erase_if(existing, sameAs(recipient, &PushRecipient::guid)) > 0) {
        remove(recipient.guid);
      }
      store.insertPushRecipientWithName(recipient.name, recipient.guid, recipient.token,
                                        recipient.locale);
      if (!recipient.enabled.value_or(false)) {
        withLatestError(error, [&](ErrorSlot slot) {
          return store.disablePushRecipientWithGUID(recipient.guid, slot);
        });
      }
    }
    for (const PushRecipient& left : existing) {
      remove(left.guid);
    }
    withLatestError(error, [&](ErrorSlot slot) { return store.save(slot); });
  });
}

void AlertsDaemon::addPushRecipients(
    std::optional<std::vector<std::optional<PushRecipient>>> recipients, ErrorReply reply) {
  asRoot(reply, [&](ADAlertStore& store, std::optional<Error>& error) {
    const auto existing = store.getPushRecipients(&error);
    bool inserted = false;
    for (const auto& element :
         std::move(recipients).value_or(std::vector<std::optional<PushRecipient>>())) {
      if (element &&
          std::none_of(existing.begin(), existing.end(), sameAs(*element, &PushRecipient::guid))) {
        store.insertPushRecipientWithName(element->name, element->guid, element->token,
                                          element->locale);
        inserted = true;
      }
    }
    if (inserted) {
      withLatestError(error, [&](ErrorSlot slot) { return store.save(slot); });
    }
  });
}

}  // namespace velto
