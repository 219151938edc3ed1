// Posting and saving alerts.

#include <array>
#include <charconv>
#include <utility>

#include "daemon/AlertsDaemon.h"
#include "platform/foundation/VLAlert.h"
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

}  // namespace

void AlertsDaemon::postAlert(std::optional<VLAlert> alert, ErrorReply reply) {
  if (!isUnrestricted() && !isEntitledTo(alert ? alert->bundle : std::nullopt)) {
    reply(error(kInsufficientEntitlementsCode, "Error: Insufficient entitlements."));
  } else if (!alert) {
    reply(error(kMissingInputCode, "No alert to post."));
  } else {
    reply(post(*alert));
  }
}

std::optional<Error> AlertsDaemon::post(VLAlert& alert) {
  ADAlertStore store(services_.stores);
  std::optional<Error> error;
  const auto switches = store.getAlertBundle(alert.bundle, &error);
  if (error) {
    return error;
  }
  // Only a bundle that knows the alert's type can tell people about it.
  const auto bundleAlert = services_.bundles.alertSubclass(alert, &error);
  if (error) {
    return error;
  }
  const bool pushEnabled = switches->pushEnabled.value_or(false);
  const bool mailEnabled = switches->mailEnabled.value_or(false);
  if (!pushEnabled && !mailEnabled) {
    return std::nullopt;
  }
  alert.sentDate = services_.clock.now();
  if (!alert.identifier || alert.identifier->empty()) {
    alert.identifier = newIdentifier(alert.type, *alert.sentDate);
  }
  store.insertAlert(alert);
  auto deliveryError = pushEnabled ? services_.pusher.sendAlert(alert, store) : std::nullopt;
  if (mailEnabled) {
    auto mailError = services_.mailer.mailAlert(alert, store);
    if (!deliveryError) {
      deliveryError = std::move(mailError);
    }
  }
  if (deliveryError) {
    // The record stays as sent: the caller alone learns that somebody may not have heard of it.
    store.save(nullptr);
    return deliveryError;
  }
  store.save(&error);
  return error;
}

void AlertsDaemon::saveAlerts(std::optional<std::vector<VLAlert>> alerts, ErrorReply reply) {
  if (!isRoot()) {
    reply(privilegeError());
    return;
  }
  if (!alerts) {
    reply(error(kMissingInputCode, "No alerts to save."));
    return;
  }
  ADAlertStore store(services_.stores);
  for (const VLAlert& alert : *alerts) {
    store.insertAlert(alert);
  }
  std::optional<Error> saveError;
  store.save(&saveError);
  reply(std::move(saveError));
}

}  // namespace velto
