// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include <velto/Client.h>

namespace velto {

/// A list of alerts of any length, a page in memory at a time. Throws a Failure when the daemon
/// does not give the next. One thread.
class AlertPages {
 public:
  /// `client` outlives this object. At most `count` alerts, when there is a count.
  AlertPages(alerts::Client& client, alerts::ListQuery query, std::optional<std::int64_t> count);

  /// The next page; empty when there are no more.
  std::vector<alerts::ListItem> next();
  /// Whether the daemon has more than what was given.
  bool hasMore() const { return query_.after.has_value(); }

 private:
  std::int64_t pageSize();

  alerts::Client& client_;
  alerts::ListQuery query_;
  std::optional<std::int64_t> left_;
  bool isFirst_ = true;
};

}  // namespace velto
