// SPDX-License-Identifier: Apache-2.0
// The people to notify.
//
// An incoming recipient is matched against those that were stored before the call, never against
// what the call itself inserts: a key that stands twice in the input goes in twice.

#include <unordered_set>
#include <utility>

#include "daemon/AlertsDaemon.h"
#include "daemon/LatestError.h"
#include "store/ADAlertStore.h"

namespace velto {
namespace {

MailRecipient recipientFrom(const MailRecipientOrAddress& element) {
  if (const auto* recipient = std::get_if<MailRecipient>(&element)) {
    return *recipient;
  }
  return {.address = std::get<std::string>(element), .locale = std::nullopt};
}

/// The stored recipients that a call has not named yet, by a key. One without the key is named by
/// none.
template <typename Recipient>
class Unnamed {
 public:
  using Key = std::optional<std::string> Recipient::*;

  Unnamed(const std::vector<Recipient>& stored, Key key) : stored_(stored), key_(key) {
    for (const Recipient& recipient : stored) {
      if (recipient.*key) {
        keys_.insert(*(recipient.*key));
      }
    }
  }

  bool holds(const Recipient& incoming) const {
    return incoming.*key_ && keys_.contains(*(incoming.*key_));
  }
  /// Takes those with the key of `incoming` out; true when there were some.
  bool take(const Recipient& incoming) {
    return incoming.*key_ && keys_.erase(*(incoming.*key_)) != 0;
  }
  /// Calls `remove` with the key of each that is left, in their order.
  template <typename Remove>
  void forEach(Remove remove) const {
    for (const Recipient& recipient : stored_) {
      if (!(recipient.*key_) || holds(recipient)) {
        remove(recipient.*key_);
      }
    }
  }

 private:
  const std::vector<Recipient>& stored_;
  const Key key_;
  std::unordered_set<std::string> keys_;
};

}  // namespace

void AlertsDaemon::getMailRecipients(Reply<std::vector<MailRecipient>> reply) {
  asRoot(reply, [](ADAlertStore& store, std::optional<Error>& error) {
    return store.getMailRecipients(&error);
  });
}

void AlertsDaemon::setMailRecipients(std::optional<std::vector<MailRecipient>> recipients,
                                     ErrorReply reply) {
  const auto wanted = std::move(recipients).value_or(std::vector<MailRecipient>());
  changeAsRoot(reply, SaveFailure::kTold, [&](ADAlertStore& store, std::optional<Error>& error) {
    const auto existing = store.getMailRecipients(&error);
    Unnamed<MailRecipient> unnamed(existing, &MailRecipient::address);
    const auto remove = [&](const std::optional<std::string>& address) {
      withLatestError(error, [&](ErrorSlot slot) {
        return store.deleteMailRecipientWithAddress(address, slot);
      });
    };
    for (const MailRecipient& recipient : wanted) {
      if (unnamed.take(recipient)) {
        remove(recipient.address);
      }
      store.insertMailRecipientWithAddress(recipient.address, recipient.locale);
    }
    unnamed.forEach(remove);
    return true;
  });
}

void AlertsDaemon::addMailRecipients(std::optional<std::vector<MailRecipientOrAddress>> recipients,
                                     ErrorReply reply) {
  const auto wanted = std::move(recipients).value_or(std::vector<MailRecipientOrAddress>());
  changeAsRoot(reply, SaveFailure::kTold, [&](ADAlertStore& store, std::optional<Error>& error) {
    const auto existing = store.getMailRecipients(&error);
    const Unnamed<MailRecipient> stored(existing, &MailRecipient::address);
    bool inserted = false;
    for (const MailRecipientOrAddress& element : wanted) {
      const MailRecipient recipient = recipientFrom(element);
      if (!stored.holds(recipient)) {
        store.insertMailRecipientWithAddress(recipient.address, recipient.locale);
        inserted = true;
      }
    }
    return inserted;
  });
}

void AlertsDaemon::getPushRecipients(Reply<std::vector<PushRecipient>> reply) {
  asRoot(reply, [](ADAlertStore& store, std::optional<Error>& error) {
    return store.getPushRecipients(&error);
  });
}

void AlertsDaemon::setPushRecipients(std::optional<std::vector<PushRecipient>> recipients,
                                     ErrorReply reply) {
  const auto wanted = std::move(recipients).value_or(std::vector<PushRecipient>());
  changeAsRoot(reply, SaveFailure::kTold, [&](ADAlertStore& store, std::optional<Error>& error) {
    const auto existing = store.getPushRecipients(&error);
    Unnamed<PushRecipient> unnamed(existing, &PushRecipient::guid);
    const auto remove = [&](const std::optional<std::string>& guid) {
      withLatestError(
          error, [&](ErrorSlot slot) { return store.deletePushRecipientWithGUID(guid, slot); });
    };
    for (const PushRecipient& recipient : wanted) {
      if (unnamed.take(recipient)) {
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
    unnamed.forEach(remove);
    return true;
  });
}

void AlertsDaemon::addPushRecipients(
    std::optional<std::vector<std::optional<PushRecipient>>> recipients, ErrorReply reply) {
  const auto wanted = std::move(recipients).value_or(std::vector<std::optional<PushRecipient>>());
  changeAsRoot(reply, SaveFailure::kTold, [&](ADAlertStore& store, std::optional<Error>& error) {
    const auto existing = store.getPushRecipients(&error);
    const Unnamed<PushRecipient> stored(existing, &PushRecipient::guid);
    bool inserted = false;
    for (const auto& element : wanted) {
      if (element && !stored.holds(*element)) {
        store.insertPushRecipientWithName(element->name, element->guid, element->token,
                                          element->locale);
        inserted = true;
      }
    }
    return inserted;
  });
}

}  // namespace velto
