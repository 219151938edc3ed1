// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <thread>

#include "platform/push/PushSender.h"
#include "platform/push/PushServiceProvider.h"

namespace velto {

class Clock;

/// Sends each notification as an HTTP/2 request to the push gateway that the identity file names,
/// /etc/velto/push/<preference>.plist:
///
///     { Endpoint = "https://gateway.example/3/device"; Certificate = "..."; PrivateKey = "...";
///       CertificateAuthority = "..."; }
///
/// The request is `POST <Endpoint>/<device in hexadecimal>` with the payload as body and the
/// headers `Content-Type: application/json`, `TTL` (whole seconds to the expiry) and `Topic` (the
/// identifier in base64url). A status of 2xx is success, any other goes to the error-response
/// handler, and what gets no answer to the error handler (see PushErrors.h).
///
/// All notifications share one connection, which is kept for two minutes after the last one. The
/// file is read again by each thread with its first notification of a batch, or after installing
/// handlers outside of one. PushTimeLimits says how long after that notification the removal of
/// handlers and flush() still wait; what has no answer by then is reported as timed out. Any
/// thread.
class UlmoraPushServiceProvider : public PushServiceProvider {
 public:
  UlmoraPushServiceProvider(const std::string& certificateIdentityPreference,
                            const PushTimeLimits& limits, const Clock& clock);

  void beginBatch() override;
  void endBatch() override;
  void setErrorHandler(ErrorHandler handler) override;
  void setErrorResponseHandler(ErrorResponseHandler handler) override;
  void sendPushNotification(const Data& payload, const Data& device, const Data& identifier,
                            Date expiry) override;
  void flush() override;

 private:
  /// What a thread has installed, and sent since. Used by that thread alone.
  struct Conversation {
    ErrorHandler errorHandler;
    ErrorResponseHandler errorResponseHandler;
    std::shared_ptr<PushReports> reports;  ///< of what has been sent; null before the first
    bool isBatch = false;
    /// For what has been sent since the handlers were installed, or in the batch.
    std::optional<PushReports::Clock::time_point> deadline;
    std::optional<Error> silence;  ///< the push service did not answer in the batch
    std::shared_ptr<const PushIdentity> identity;
    std::optional<Error> identityError;
    /// The last message sent, with what it was made from.
    std::shared_ptr<const PushMessage> message;
    Data identifier;
    Date expiry;

    void report(const PushOutcome& outcome) noexcept;
  };

  Conversation& conversation() VELTO_EXCLUDES(mutex_);
  /// Waits for all that is missing, and reports it.
  void settle(Conversation& conversation) noexcept;
  void hearOut(Conversation& conversation) noexcept;
  void endIfUnhandled(const Conversation& conversation) VELTO_EXCLUDES(mutex_);
  std::shared_ptr<const PushMessage> message(Conversation& conversation, const Data& payload,
                                             const Data& identifier, Date expiry) const;

  const std::string identityFile_;
  const PushTimeLimits limits_;
  const Clock& clock_;

  Mutex mutex_;
  std::map<std::thread::id, Conversation> conversations_ VELTO_GUARDED_BY(mutex_);
  PushSender sender_;
};

}  // namespace velto
