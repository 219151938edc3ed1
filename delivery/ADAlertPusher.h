// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "alerts/AlertBundleRegistry.h"
#include "alerts/VLAlert.h"
#include "delivery/DeliveryJournal.h"
#include "delivery/DistinctDates.h"
#include "platform/foundation/Clock.h"
#include "platform/foundation/Error.h"
#include "platform/push/PushServiceProvider.h"
#include "store/ADAlertStore.h"

namespace velto {

/// The domain of the error of a notification that was not delivered. The code is the provider's, or
/// the status of the push service.
inline constexpr std::string_view kPusherErrorDomain = "UlmoraPushProvider";
/// The code of an alert that has no text in a language. The description says which.
inline constexpr int kNoPushMessageErrorCode = 1100;
/// In the user information of an error that the provider reported: the domain it had there.
inline constexpr std::string_view kParentDomainKey = "ParentDomain";

/// Pushes an alert to the devices of its recipients, in their own languages. Everything is reported
/// on the calling thread, which waits until each notification was accepted or has failed. What came
/// of it in each language is noted in the journal. Any thread.
class ADAlertPusher {
 public:
  /// The Shared pusher.
  static ADAlertPusher& sharedInstance();

  /// Makes its own provider with `makeProvider`.
  ADAlertPusher(AlertBundleRegistry& bundles, const Clock& clock, DeliveryJournal& journal,
                const PushServiceProviderFactory& makeProvider);
  /// Flushes the provider.
  ~ADAlertPusher();
  ADAlertPusher(const ADAlertPusher&) = delete;
  ADAlertPusher& operator=(const ADAlertPusher&) = delete;

  /// The date to send an alert at that is posted now: a notification is told from another alert's
  /// by the millisecond, so each gets one that no other alert of this process has.
  Date sentDate(Date now) { return dates_.next(now); }

  /// Sends the alert's subject to every enabled push recipient of the store, as one batch of the
  /// provider. Nothing when all were accepted. An error of the store or of the alert's bundle ends
  /// it at once; what fails in one language does not keep the others back, and the first error is
  /// the result. `bundle` is the alert's, where it is in use already.
  std::optional<Error> sendAlert(const VLAlert& alert, ADAlertStore& store,
                                 BundleInUse bundle = nullptr);

  /// Sends the message to each device. Notifications of the same date replace each other. The first
  /// failure is the result; it does not keep the other devices back. Of a status, the error's
  /// description is the push service's own answer, as data.
  std::optional<Error> sendPushNotificationToTokens(const std::vector<Data>& tokens,
                                                    std::string_view message,
                                                    std::optional<Date> date);

  /// What the provider reported first, and of a status the token of the device that it was for.
  struct Report {
    std::optional<Error> error;
    std::optional<Data> device;
  };

 private:
  Report sendToTokens(const std::vector<Data>& tokens, std::string_view message,
                      std::optional<Date> date);

  AlertBundleRegistry& bundles_;
  const Clock& clock_;
  DeliveryJournal& journal_;
  DistinctDates dates_;
  const std::unique_ptr<PushServiceProvider> ulmoraPushProvider_;
};

}  // namespace velto
