// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "delivery/DeliveryJournal.h"
#include "platform/foundation/Mutex.h"

namespace velto {

/// Keeps the entries it is given, each as "CHANNEL LOCALE: ALERT to RECIPIENTS: RESULT STATUS".
class FakeDeliveryJournal : public DeliveryJournal {
 public:
  void add(const VLAlert& alert, const DeliveryOutcome& outcome) override {
    MutexLock lock(mutex_);
    entries_.push_back(std::string(outcome.channel)
                           .append(" ")
                           .append(outcome.locale)
                           .append(": ")
                           .append(alert.identifier.value_or(""))
                           .append(" to ")
                           .append(outcome.recipients)
                           .append(outcome.isDelivered ? ": delivered " : ": failed ")
                           .append(std::to_string(outcome.status)));
  }
  std::vector<std::string> entries() const {
    MutexLock lock(mutex_);
    return entries_;
  }

 private:
  mutable Mutex mutex_;
  std::vector<std::string> entries_ VELTO_GUARDED_BY(mutex_);
};

}  // namespace velto
