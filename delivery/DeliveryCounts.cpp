// SPDX-License-Identifier: Apache-2.0
#include "delivery/DeliveryCounts.h"

namespace velto {

void DeliveryCounts::begin(std::string_view channel) {
  const MutexLock lock(mutex_);
  ++channels_[std::string(channel)].pending;
  journal_.begin(channel);
}

/// One that has begun, so there is an entry.
void DeliveryCounts::end(std::string_view channel) noexcept {
  const MutexLock lock(mutex_);
  --channels_.find(channel)->second.pending;
  journal_.end(channel);
}

void DeliveryCounts::add(const VLAlert& alert, const DeliveryOutcome& outcome) {
  journal_.add(alert, outcome);
  const MutexLock lock(mutex_);
  ChannelCounts& counts = channels_[std::string(outcome.channel)];
  if (outcome.isDelivered) {
    ++counts.delivered;
    return;
  }
  ++counts.failed;
  counts.lastFailure = clock_.now();
  counts.lastError = outcome.reason;
}

ChannelCounts DeliveryCounts::of(std::string_view channel) const {
  const MutexLock lock(mutex_);
  const auto found = channels_.find(channel);
  return found == channels_.end() ? ChannelCounts() : found->second;
}

}  // namespace velto
