// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <utility>
#include <variant>

#include "platform/foundation/Data.h"
#include "platform/foundation/Error.h"
#include "platform/foundation/Mutex.h"

namespace velto {

/// How long one waits for the push service.
struct PushTimeLimits {
  /// For a connection to it: name look-up, TCP and TLS.
  std::chrono::milliseconds connecting = std::chrono::seconds(10);
  /// For the first answer over a new connection to begin. After that the others no longer wait for
  /// it.
  std::chrono::milliseconds firstAnswer = std::chrono::seconds(1);
  /// At least, before a notification is sent again that the gateway wants to have later.
  std::chrono::milliseconds pause = std::chrono::seconds(1);
  /// For all answers together, and for a single one.
  std::chrono::milliseconds total = std::chrono::seconds(30);
};

/// The push service's answer to a notification that it did not accept.
struct PushErrorResponse {
  std::uint64_t status = 0;
  Data body;
  Data device = {};  ///< the token of whose notification it was
};

/// What became of a notification: accepted, not answered, or not accepted.
using PushOutcome = std::variant<std::monostate, Error, PushErrorResponse>;

/// The outcomes of what one caller has sent, on their way from the sending thread back to it. Each
/// notification has one, until the caller gives up. Any thread.
class PushReports {
 public:
  using Clock = std::chrono::steady_clock;

  /// One more notification has been handed over.
  void expectOne();
  /// The outcome of one of them. Passed over once the caller has given up. A failure that there is
  /// no memory to keep becomes outOfMemory().
  void add(PushOutcome outcome) noexcept;
  /// A failure that has come in, without waiting.
  std::optional<PushOutcome> takeFailure();
  /// Waits for a failure to come in; nothing when there is an outcome for every notification, or
  /// at the deadline.
  std::optional<PushOutcome> waitForFailure(Clock::time_point deadline);
  /// From now on nothing is waited for. Returns how many outcomes were missing.
  std::size_t giveUp();
  bool isGivenUp() const;

 private:
  void keep(PushOutcome failure) noexcept VELTO_REQUIRES(mutex_);
  bool hasFailure() const VELTO_REQUIRES(mutex_);
  std::optional<PushOutcome> take() VELTO_REQUIRES(mutex_);

  mutable Mutex mutex_;
  std::condition_variable changed_;
  std::deque<PushOutcome> failures_ VELTO_GUARDED_BY(mutex_);
  std::size_t failuresWithoutMemory_ VELTO_GUARDED_BY(mutex_) = 0;
  std::size_t missing_ VELTO_GUARDED_BY(mutex_) = 0;
  bool isGivenUp_ VELTO_GUARDED_BY(mutex_) = false;
};

/// The duty to report what became of one notification, held by whoever has it. Where it is let go
/// of without a report, which only happens for want of memory, that is what it reports: so nobody
/// waits for an outcome that does not come. Moves; one thread at a time.
class PushDuty {
 public:
  PushDuty() = default;
  explicit PushDuty(std::shared_ptr<PushReports> reports) : reports_(std::move(reports)) {
    reports_->expectOne();
  }
  ~PushDuty() {
    if (reports_ != nullptr) reports_->add(outOfMemory());
  }
  PushDuty(PushDuty&&) noexcept = default;
  PushDuty& operator=(PushDuty&& other) noexcept {
    std::swap(reports_, other.reports_);
    return *this;
  }

  /// Called once at most.
  void report(const PushOutcome& outcome) noexcept;
  /// Nobody waits for the report any more.
  bool isGivenUp() const { return reports_->isGivenUp(); }

 private:
  std::shared_ptr<PushReports> reports_;
};

}  // namespace velto
