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
  std::string reason = {};   ///< in a line, when it is not
  std::chrono::microseconds duration{0};
};

/// Where the outcome of each delivery is noted, so that an administrator can look up who was told
/// of what. Implementations may be used from any thread.
class DeliveryJournal {
 public:
  virtual ~DeliveryJournal() = default;

  virtual void add(const VLAlert& alert, const DeliveryOutcome& outcome) = 0;
  // A delivery is under way, and is not any more: DeliveryUnderWay calls the two.
  virtual void begin(std::string_view /*channel*/) {}
  virtual void end(std::string_view /*channel*/) noexcept {}

  /// The system's journal, an entry an outcome. In a private system (VELTO_ROOT set) a line goes to
  /// standard error instead: the host's journal is not ours then.
  static DeliveryJournal& system();
};

/// The fields of an entry of the system's journal, NAME=value each. The first one is MESSAGE.
std::vector<std::string> journalFields(const VLAlert& alert, const DeliveryOutcome& outcome);

/// A delivery to the recipients of one language, as long as it takes, which it measures. One
/// thread.
class DeliveryUnderWay {
 public:
  /// `journal` outlives it, and so does the channel's name.
  DeliveryUnderWay(DeliveryJournal& journal, std::string_view channel)
      : journal_(journal), channel_(channel) {
    journal_.begin(channel_);
  }
  ~DeliveryUnderWay() { journal_.end(channel_); }
  DeliveryUnderWay(const DeliveryUnderWay&) = delete;
  DeliveryUnderWay& operator=(const DeliveryUnderWay&) = delete;

  std::chrono::microseconds elapsed() const {
    return std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() -
                                                                 start_);
  }

 private:
  DeliveryJournal& journal_;
  const std::string_view channel_;
  const std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

}  // namespace velto
