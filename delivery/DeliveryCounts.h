// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "delivery/DeliveryJournal.h"
#include "platform/foundation/Clock.h"
#include "platform/foundation/Date.h"
#include "platform/foundation/Mutex.h"

namespace velto {

/// What one way of telling people has done.
struct ChannelCounts {
  std::int64_t delivered = 0;
  std::int64_t failed = 0;
  std::int64_t pending = 0;  ///< deliveries under way
  std::optional<Date> lastFailure = {};
  std::optional<std::string> lastError = {};
};

/// Counts what is noted in a journal, by channel. Any thread.
class DeliveryCounts : public DeliveryJournal {
 public:
  /// What is referred to outlives it.
  DeliveryCounts(DeliveryJournal& journal, const Clock& clock) : journal_(journal), clock_(clock) {}

  void begin(std::string_view channel) override;
  void end(std::string_view channel) noexcept override;
  void add(const VLAlert& alert, const DeliveryOutcome& outcome) override;

  ChannelCounts of(std::string_view channel) const;

 private:
  DeliveryJournal& journal_;
  const Clock& clock_;
  mutable Mutex mutex_;
  std::map<std::string, ChannelCounts, std::less<>> channels_ VELTO_GUARDED_BY(mutex_);
};

}  // namespace velto
