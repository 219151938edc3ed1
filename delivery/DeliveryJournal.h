// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "alerts/VLAlert.h"

namespace velto {

/// What came of telling the recipients of one language of an alert.
struct DeliveryOutcome {
  std::string_view channel;  ///< "mail" or "push"
  std::string recipients;    ///< for people
  std::string_view locale;
  bool isDelivered = false;  ///< to all of them
  std::int64_t status = 0;   ///< the error's code when it is not
  std::chrono::microseconds duration{0};
};

/// Where the outcome of each delivery is noted, so that an administrator can look up who was told
/// of what. Implementations may be used from any thread.
class DeliveryJournal {
 public:
  virtual ~DeliveryJournal() = default;

  virtual void add(const VLAlert& alert, const DeliveryOutcome& outcome) = 0;

  /// The system's journal, an entry an outcome. In a private system (VELTO_ROOT set) a line goes to
  /// standard error instead: the host's journal is not ours then.
  static DeliveryJournal& system();
};

/// The fields of an entry of the system's journal, NAME=value each. The first one is MESSAGE.
std::vector<std::string> journalFields(const VLAlert& alert, const DeliveryOutcome& outcome);

/// Measures how long a delivery takes, from its making on.
class DeliveryStopwatch {
 public:
  std::chrono::microseconds elapsed() const {
    return std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() -
                                                                 start_);
  }

 private:
  const std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

}  // namespace velto
