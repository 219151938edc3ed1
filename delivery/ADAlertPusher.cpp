// SPDX-License-Identifier: Apache-2.0
#include "delivery/ADAlertPusher.h"

#include <cstdint>
#include <new>
#include <utility>

#include <boost/json.hpp>

#include "delivery/DeviceNames.h"
#include "platform/foundation/Shared.h"
#include "platform/foundation/SingleLine.h"
#include "platform/foundation/UTF8.h"

namespace velto {
namespace {

constexpr const char* kIdentityPreference = "ovix:com.ulmora.alerts";
constexpr double kSecondsToExpiry = 2592000;
/// Bytes of a push service's answer that are told of it.
constexpr std::size_t kMaximumAnswer = 200;

Data payload(std::string_view message) {
  return Data(boost::json::serialize(boost::json::object{{"zel", {{"alert", message}}}}));
}

/// The low 32 bits of the date's milliseconds, the lowest byte first.
Data identifier(std::optional<Date> date) {
  const auto bits = static_cast<std::uint64_t>(date ? wholeMilliseconds(*date) : 0);
  std::vector<std::uint8_t> bytes;
  for (unsigned shift = 0; shift < 32; shift += 8) {
    bytes.push_back(static_cast<std::uint8_t>(bits >> shift));
  }
  return Data(std::move(bytes));
}

/// Hears what the provider reports to this thread, as long as it lives, and keeps the first error.
class FirstReport {
 public:
  explicit FirstReport(PushServiceProvider& provider) : provider_(provider) {
    provider_.setErrorHandler([this](const Error& reported) {
      keep([&] {
        Error error{std::string(kPusherErrorDomain), reported.code, reported.userInfo};
        error.userInfo.insert_or_assign(std::string(kParentDomainKey), reported.domain);
        return error;
      });
    });
    provider_.setErrorResponseHandler(
        [this](std::uint64_t status, const Data& response, const Data& device) {
          keep([&] {
            if (!error_) device_ = device;
            return Error{std::string(kPusherErrorDomain),
                         static_cast<std::int64_t>(status),
                         {{std::string(NSLocalizedDescriptionKey), response}}};
          });
        });
  }
  ~FirstReport() { stopHearing(); }
  FirstReport(const FirstReport&) = delete;
  FirstReport& operator=(const FirstReport&) = delete;

  /// What was reported when there is nothing more to hear.
  ADAlertPusher::Report result() {
    stopHearing();
    return {std::move(error_), std::move(device_)};
  }

 private:
  template <typename Make>
  void keep(const Make& make) noexcept {
    try {
      setIfEmpty(&error_, make());
    } catch (const std::bad_alloc&) {
      setIfEmpty(&error_, outOfMemory());
    }
  }

  void stopHearing() {
    if (std::exchange(isHearing_, false)) {
      provider_.setErrorHandler({});
      provider_.setErrorResponseHandler({});
    }
  }

  PushServiceProvider& provider_;
  std::optional<Error> error_;
  std::optional<Data> device_;
  bool isHearing_ = true;
};

/// In a line. A push service's answer comes as bytes, since it need not be text, and its status is
/// of one device.
std::string reasonOf(const Error& error, const std::string& device) {
  const PropertyList* words = valueForKey(error.userInfo, NSLocalizedDescriptionKey);
  const Data* answer = words == nullptr ? nullptr : words->data();
  if (answer == nullptr) return singleLine(error.localizedDescription());
  std::string reason = device + ": " + std::to_string(error.code) + " ";
  reason.append(answer->view().substr(0, kMaximumAnswer));
  return singleLine(withoutInvalidUTF8(std::move(reason)));
}

}  // namespace

ADAlertPusher& ADAlertPusher::sharedInstance() {
  return Shared<ADAlertPusher>::object("ADAlertPusher::sharedInstance");
}

ADAlertPusher::ADAlertPusher(AlertBundleRegistry& bundles, const Clock& clock,
                             DeliveryJournal& journal,
                             const PushServiceProviderFactory& makeProvider)
    : bundles_(bundles),
      clock_(clock),
      journal_(journal),
      ulmoraPushProvider_(makeProvider(kIdentityPreference)) {}

ADAlertPusher::~ADAlertPusher() {
  ulmoraPushProvider_->flush();
}

std::optional<Error> ADAlertPusher::sendAlert(const VLAlert& alert, ADAlertStore& store,
                                              BundleInUse bundle) {
  std::optional<Error> error;
  const auto recipients = store.getPushRecipientsByLocalization(&error);
  const auto bundleAlert = bundles_.alertSubclass(alert, &error, &bundle);
  if (error) {
    return error;
  }
  if (recipients.empty()) {
    return std::nullopt;
  }
  const DeviceNames names(store, recipients);
  const PushBatch batch(*ulmoraPushProvider_);
  for (const auto& [localization, tokens] : recipients) {
    const DeliveryUnderWay delivery(journal_, "push");
    const auto message = bundleAlert->subject(localization);
    auto [result, device] = message
                                ? sendToTokens(tokens, *message, alert.sentDate)
                                : Report{makeError(kPusherErrorDomain, kNoPushMessageErrorCode,
                                                   "The alert has no subject in the language \"" +
                                                       localization + "\"."),
                                         std::nullopt};
    journal_.add(alert,
                 {.channel = "push",
                  .recipients = names.of(tokens),
                  .locale = localization,
                  .isDelivered = !result,
                  .status = result ? result->code : 0,
                  .reason = result ? reasonOf(*result, device ? names.of({*device}) : "") : "",
                  .duration = delivery.elapsed()});
    if (result) {
      setIfEmpty(&error, std::move(*result));
    }
  }
  return error;
}

std::optional<Error> ADAlertPusher::sendPushNotificationToTokens(const std::vector<Data>& tokens,
                                                                 std::string_view message,
                                                                 std::optional<Date> date) {
  return sendToTokens(tokens, message, date).error;
}

ADAlertPusher::Report ADAlertPusher::sendToTokens(const std::vector<Data>& tokens,
                                                  std::string_view message,
                                                  std::optional<Date> date) {
  const Data content = payload(message);
  const Date expiry(clock_.now().secondsSinceReference() + kSecondsToExpiry);
  const Data name = identifier(date);
  FirstReport report(*ulmoraPushProvider_);
  for (const Data& token : tokens) {
    ulmoraPushProvider_->sendPushNotification(content, token, name, expiry);
  }
  return report.result();
}

}  // namespace velto
