// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <velto/Alert.h>
#include <velto/Value.h>

namespace velto::alerts {

// What the tools of an administrator watch. Plain values; user 0 and group 0 alone are told them.

/// A way of telling people.
enum class ChannelName { kMail, kPush };

/// What one way of telling people has done since the service's start.
struct Channel {
  ChannelName name = ChannelName::kMail;
  std::int64_t delivered = 0;
  std::int64_t failed = 0;
  std::int64_t pending = 0;  ///< deliveries under way
  std::optional<Date> lastFailure = {};
  std::optional<std::string> lastError = {};
};

struct Counts {
  std::int64_t alerts = 0;
  std::int64_t unread = 0;
  std::int64_t unresolved = 0;
};

struct StoreStatus {
  bool usable = false;                      ///< it is open and takes saves
  std::optional<std::string> problem = {};  ///< why it is not
  std::string path = {};
  std::int64_t size = 0;  ///< in bytes, as the two below
  std::int64_t logSize = 0;
  std::int64_t freeSize = 0;  ///< of pages in the database that hold nothing
  std::int64_t saves = 0;     ///< since the service's start
  std::int64_t failedSaves = 0;
};

/// The state of the service. Counts are those of the last commit.
struct Status {
  std::string version = {};
  Date startDate = {};
  Counts counts = {};
  StoreStatus store = {};
  std::vector<Channel> channels = {};
  std::int64_t connections = 0;
  std::int64_t calls = 0;   ///< under way
  std::int64_t served = 0;  ///< since the start
};

/// Which alerts to list. Every filter that is given must hold.
struct ListQuery {
  std::optional<std::string> bundle = {};
  std::optional<std::string> type = {};
  std::optional<Date> from = {};  ///< sent after, exclusive
  std::optional<Date> to = {};    ///< sent until, inclusive
  std::optional<bool> unread = {};
  std::optional<bool> unresolved = {};
  /// Looked for in type, bundle, identifier and the attributes' texts, without regard to case.
  std::optional<std::string> text = {};
  /// The reader's, as a language tag, for the subjects.
  std::optional<std::string> locale = {};
  std::optional<std::int64_t> limit = {};  ///< 100 without it, 1000 at most
  std::optional<std::string> after = {};   ///< ListPage::next of the page before
};

struct ListItem {
  Alert alert = {};
  std::optional<std::string> subject = {};
};

/// Alerts, newest sent first, those without a sent date last.
struct ListPage {
  std::vector<ListItem> items = {};
  std::optional<std::string> next = {};  ///< where to go on, when there are more
};

/// A recovery action of an alert.
struct Action {
  std::string name = {};  ///< as Client::performRecoveryAction takes it
  std::string title = {};
};

/// One alert with all that its bundle says of it.
struct AlertDetails {
  Alert alert = {};
  std::optional<std::string> subject = {};
  std::optional<std::string> message = {};
  std::vector<Action> actions = {};
};

/// How many alerts of a bundle were sent from `start` on, for one step.
struct HistoryEntry {
  Date start = {};
  std::optional<std::string> bundle = {};
  std::int64_t count = 0;
};

enum class EventKind {
  kAdded,     ///< `alert` is new
  kChanged,   ///< `alert` as it is now
  kDeleted,   ///< the alert `identifier` is gone
  kSettings,  ///< a bundle, an attribute or a recipient has changed
  kLost,      ///< the reader was too slow: what was told meanwhile must be read anew
};

/// One change, after it is on disk.
struct Event {
  std::int64_t sequence = 0;  ///< counts up by one, from the service's start
  EventKind kind = EventKind::kSettings;
  std::optional<std::string> identifier = {};
  std::optional<Alert> alert = {};
};

/// Changes of a short time, in the order of the commits.
struct Changes {
  std::int64_t sequence = 0;  ///< from which on nothing is missed
  std::vector<Event> events = {};
};

}  // namespace velto::alerts
