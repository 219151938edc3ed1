// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "alerts/AlertListing.h"
#include "alerts/VLAlert.h"
#include "platform/foundation/Date.h"

namespace velto {

// What the watching interface tells. Plain values, as the interface file declares them.

/// What one way of telling people has done since the start.
struct MonitorChannel {
  std::string name;  ///< "mail" or "push"
  std::int64_t delivered = 0;
  std::int64_t failed = 0;
  std::int64_t pending = 0;  ///< deliveries under way
  std::optional<Date> lastFailure = {};
  std::optional<std::string> lastError = {};
};

struct MonitorCounts {
  std::int64_t alerts = 0;
  std::int64_t unread = 0;
  std::int64_t unresolved = 0;

  bool operator==(const MonitorCounts&) const = default;
};

/// Sizes are in bytes.
struct MonitorStore {
  bool usable = false;  ///< it is open, and takes saves
  std::optional<std::string> problem = {};
  std::string path = {};
  std::int64_t size = 0;
  std::int64_t logSize = 0;
  std::int64_t freeSize = 0;
  std::int64_t saves = 0;
  std::int64_t failedSaves = 0;
};

struct MonitorStatus {
  std::string version = {};
  Date startDate = {};
  MonitorCounts counts = {};
  MonitorStore store = {};
  std::vector<MonitorChannel> channels = {};
  std::int64_t connections = 0;
  std::int64_t calls = 0;
  std::int64_t served = 0;
};

/// Which alerts to list, and how. The filter's text is of any length.
struct MonitorListQuery {
  AlertFilter filter = {};
  std::optional<std::string> locale = {};  ///< the reader's, as a language tag
  std::optional<std::int64_t> limit = {};
  std::optional<std::string> after = {};  ///< MonitorPage::next of the page before
};

struct MonitorItem {
  VLAlert alert = {};
  std::optional<std::string> subject = {};
};

struct MonitorPage {
  std::vector<MonitorItem> items = {};
  std::optional<std::string> next = {};
};

struct MonitorAction {
  std::string name = {};
  std::string title = {};
};

struct MonitorAlert {
  VLAlert alert = {};
  std::optional<std::string> subject = {};
  std::optional<std::string> message = {};
  std::vector<MonitorAction> actions = {};
};

using MonitorHistory = std::vector<AlertHistoryEntry>;

}  // namespace velto
