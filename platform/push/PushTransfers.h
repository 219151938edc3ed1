// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>
#include <curl/curl.h>
#include <memory>
#include <optional>
#include <unordered_set>
#include <vector>

#include "platform/foundation/Clock.h"
#include "platform/push/PostponedNotifications.h"
#include "platform/push/PushTransfer.h"

namespace velto {

/// The notifications under way, over one connection that is kept from one to the next. Each is
/// reported to its PushReports when it ends. One thread, but for wakeUp().
///
/// Over a new connection no more notifications go first than one before it carried at once, and
/// over the very first one a single one: the gateway says only then how many streams it takes, and
/// would refuse the others. They wait for an answer to begin, not to end, and not for long.
class PushTransfers : private PushTransfer::Gate {
 public:
  /// How many can be under way: as many streams as libcurl opens on a connection.
  static constexpr std::size_t kMaximum = 100;

  /// Why there was no connection for an identity.
  struct ConnectionFailure {
    std::shared_ptr<const PushIdentity> identity;
    Error error;
  };

  PushTransfers(const PushTimeLimits& limits, const Clock& clock);
  /// Reports what is under way as cancelled.
  ~PushTransfers() override;
  PushTransfers(const PushTransfers&) = delete;
  PushTransfers& operator=(const PushTransfers&) = delete;

  bool isEmpty() const { return active_.empty() && heldBack_.empty() && postponed_.isEmpty(); }
  /// How many more can be started.
  std::size_t room() const;

  void start(PushNotification notification);
  /// Moves on as far as possible. When no connection can be made, everything that would use it
  /// fails alike; the caller is told, so that it need not try with the rest.
  std::optional<ConnectionFailure> perform();
  /// Starts again what had to wait for a new connection, or for its time, as far as there is room.
  void startHeldBack();
  /// Drops the notifications whose callers have given up.
  void dropGivenUp();
  /// Waits until there is something to do.
  void wait();
  /// Ends a wait(), the present one or the next. Any thread.
  void wakeUp();
  /// Frees the memory that only transfers need. The connection stays.
  void releaseMemory() { free_.clear(); }

 private:
  using Transfer = std::unique_ptr<PushTransfer>;
  struct Free {
    void operator()(CURLM* handle) const { curl_multi_cleanup(handle); }
  };

  bool admits(const PushTransfer& transfer, int localPort) override;
  void noteAnswer(const PushTransfer& transfer) override;
  void stopWaitingForAnswer();
  void forgetOther(const std::shared_ptr<const PushIdentity>& identity);
  /// Takes the transfer out of the active ones. Its notification can then be reported.
  PushNotification remove(PushTransfer& transfer) noexcept;
  Transfer unused();
  void keepForLater(Transfer transfer) noexcept;
  bool postpone(PushTransfer& transfer, CURLcode code);
  void finish(PushTransfer& transfer, CURLcode code, std::optional<ConnectionFailure>& failure);
  void finishWithinMemory(PushTransfer& transfer, CURLcode code,
                          std::optional<ConnectionFailure>& failure);
  void failAlike(const ConnectionFailure& failure);

  const PushTimeLimits limits_;
  const Clock& clock_;  ///< by which the gateway names a date
  const std::unique_ptr<CURLM, Free> multi_;
  std::vector<Transfer> active_;
  std::vector<Transfer> free_;
  std::vector<PushNotification> heldBack_;
  PostponedNotifications postponed_;

  /// The connection in use, told by its port on our side.
  int connection_ = 0;
  bool isConnectionProven_ = false;  ///< there was an answer over it, or time enough for one
  std::unordered_set<const PushTransfer*> admitted_;     ///< to it
  std::chrono::steady_clock::time_point lastAdmission_;  ///< to it
  std::size_t widest_ = 1;  ///< how many a proven connection has carried at once
  std::shared_ptr<const PushIdentity> identity_;  ///< that this is known of
};

}  // namespace velto
