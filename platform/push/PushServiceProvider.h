// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "platform/foundation/Data.h"
#include "platform/foundation/Date.h"
#include "platform/foundation/Error.h"

namespace velto {

/// Sends notifications to devices. Any thread may use it; what a thread installs as handlers gets
/// the reports about the notifications that this thread sends, and no others. Handlers are called
/// on that thread, inside one of the operations here, and do not use the provider themselves, and
/// throw nothing.
class PushServiceProvider {
 public:
  using ErrorHandler = std::function<void(const Error& error)>;
  /// The push service's status for a notification, what it said with it, and for which device.
  using ErrorResponseHandler =
      std::function<void(std::uint64_t status, const Data& response, const Data& device)>;

  virtual ~PushServiceProvider() = default;

  /// Everything that the calling thread sends until endBatch() is waited for together: there is one
  /// time limit for all of it, and when the push service does not answer in that time, whatever is
  /// sent later fails at once in the same way. See PushBatch.
  virtual void beginBatch() = 0;
  virtual void endBatch() = 0;

  /// Installs what is told of notifications that could not be sent, or removes it (an empty
  /// function). Removing waits, within a time limit, until there is a report about every
  /// notification that was sent before.
  virtual void setErrorHandler(ErrorHandler handler) = 0;
  /// The same for what is told of notifications that the push service did not accept.
  virtual void setErrorResponseHandler(ErrorResponseHandler handler) = 0;

  /// Sends the notification or queues it. `identifier` lets the push service replace an earlier
  /// notification; after `expiry` it no longer tries to deliver.
  virtual void sendPushNotification(const Data& payload, const Data& device, const Data& identifier,
                                    Date expiry) = 0;

  /// Waits, within a time limit, until nothing is queued any more.
  virtual void flush() = 0;
};

/// A batch of the calling thread, as long as this object lives.
class PushBatch {
 public:
  explicit PushBatch(PushServiceProvider& provider) : provider_(provider) {
    provider_.beginBatch();
  }
  ~PushBatch() { provider_.endBatch(); }
  PushBatch(const PushBatch&) = delete;
  PushBatch& operator=(const PushBatch&) = delete;

 private:
  PushServiceProvider& provider_;
};

/// Makes a provider that presents the client identity that the preference names.
using PushServiceProviderFactory = std::function<std::unique_ptr<PushServiceProvider>(
    const std::string& certificateIdentityPreference)>;

}  // namespace velto
