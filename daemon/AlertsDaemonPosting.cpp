// SPDX-License-Identifier: Apache-2.0
// Posting and saving alerts.

#include <array>
#include <charconv>
#include <memory>
#include <utility>

#include "alerts/VLAlert.h"
#include "daemon/AlertsDaemon.h"
#include "store/ADAlertStore.h"

namespace velto {
namespace {

/// The type, a colon, and the sent time in whole microseconds as a hexadecimal number.
std::string newIdentifier(const std::optional<std::string>& type, Date sentDate) {
  const auto microseconds = static_cast<std::int64_t>(sentDate.secondsSinceReference() * 1000000.0);
  std::array<char, 16> digits{};
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(),
                                 static_cast<std::uint64_t>(microseconds), 16);
  return type.value_or("(null)") + ":" + std::string(digits.data(), end.ptr);
}

/// Saves and replies then: with `earlier`, or else with the error of the save. Many post at the
/// same time, so none occupies a thread until the saves before it are on disk.
void saveAndReply(std::shared_ptr<ADAlertStore> store, ErrorReply reply,
                  std::optional<Error> earlier) {
  ADAlertStore& saved = *store;
  saved.save([store = std::move(store), reply = std::move(reply),
              earlier = std::move(earlier)](std::optional<Error> error) mutable {
    store.reset();  // so that it is not we who keep the store open once the caller knows
    reply(earlier ? std::move(earlier) : std::move(error));
  });
}

}  // namespace

void AlertsDaemon::postAlert(std::optional<VLAlert> alert, ErrorReply reply) {
  if (!isUnrestricted() && !isEntitledTo(alert ? alert->bundle : std::nullopt)) {
    reply(error(kInsufficientEntitlementsCode, "Error: Insufficient entitlements."));
  } else if (!alert) {
    reply(error(kMissingInputCode, "No alert to post."));
  } else {
    post(*alert, std::move(reply));
  }
}

void AlertsDaemon::post(VLAlert& alert, ErrorReply reply) {
  auto store = std::make_shared<ADAlertStore>(services_.stores);
  std::optional<Error> error;
  const auto switches = store->getAlertBundle(alert.bundle, &error);
  if (error) {
    reply(std::move(error));
    return;
  }
  // Only a bundle that knows the alert's type can tell people about it.
  BundleInUse bundle;
  const auto bundleAlert = services_.bundles.alertSubclass(alert, &error, &bundle);
  if (error) {
    reply(std::move(error));
    return;
  }
  const bool pushEnabled = switches->pushEnabled.value_or(false);
  const bool mailEnabled = switches->mailEnabled.value_or(false);
  if (!pushEnabled && !mailEnabled) {
    reply(std::nullopt);
    return;
  }
  const Date now = services_.clock.now();
  alert.sentDate = pushEnabled ? services_.pusher.sentDate(now) : now;
  if (!alert.identifier || alert.identifier->empty()) {
    alert.identifier = newIdentifier(alert.type, *alert.sentDate);
  }
  store->insertAlert(alert);
  auto deliveryError =
      pushEnabled ? services_.pusher.sendAlert(alert, *store, bundle) : std::nullopt;
  if (mailEnabled) {
    auto mailError = services_.mailer.mailAlert(alert, *store, bundle);
    if (!deliveryError) {
      deliveryError = std::move(mailError);
    }
  }
  // Whoever could not be told, the record stays as sent: the caller alone learns of it.
  saveAndReply(std::move(store), std::move(reply), std::move(deliveryError));
}

void AlertsDaemon::saveAlerts(std::optional<AlertSequence> alerts, ErrorReply reply) {
  if (!isRoot()) {
    reply(privilegeError());
    return;
  }
  if (!alerts) {
    reply(error(kMissingInputCode, "No alerts to save."));
    return;
  }
  auto store = std::make_shared<ADAlertStore>(services_.stores);
  // One after the other, since most of them would not fit into memory beside their records.
  std::optional<Error> failure;
  for (; const VLAlert* alert = alerts->current(&failure); alerts->advance()) {
    store->insertAlert(*alert);
  }
  if (failure) {
    reply(std::move(failure));
    return;
  }
  saveAndReply(std::move(store), std::move(reply), std::nullopt);
}

}  // namespace velto
