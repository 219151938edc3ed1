// SPDX-License-Identifier: Apache-2.0
#include "platform/push/RetryAfter.h"

#include <algorithm>
#include <cmath>
#include <curl/curl.h>

namespace velto {
namespace {

constexpr std::chrono::seconds kLongest = std::chrono::hours(24 * 7);

std::chrono::milliseconds bounded(double seconds) {
  const double longest = static_cast<double>(kLongest.count());
  return std::chrono::milliseconds(std::llround(std::clamp(seconds, 0.0, longest) * 1000));
}

}  // namespace

std::optional<std::chrono::milliseconds> retryDelay(const std::string& value, Date now) {
  constexpr std::size_t kDigits = 15;  // that a double holds
  if (!value.empty() && value.find_first_not_of("0123456789") == std::string::npos) {
    return value.size() > kDigits ? kLongest : bounded(std::stod(value));
  }
  // Every date of HTTP has a colon; libcurl reads much else that has not.
  const time_t date = curl_getdate(value.c_str(), nullptr);
  if (date == -1 || value.find(':') == std::string::npos) {
    return std::nullopt;
  }
  return bounded(Date::fromUnixSeconds(static_cast<double>(date)).secondsSinceReference() -
                 now.secondsSinceReference());
}

}  // namespace velto
