// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "daemon/AlertCounts.h"
#include "daemon/ChangeFeed.h"
#include "platform/persistence/CommitObserver.h"

namespace velto {

/// What the watching interface knows of the store's commits. Nothing is asked of those who save as
/// long as nobody watches. Any thread.
class StoreWatch : public CommitObserver {
 public:
  ChangeFeed feed{};
  AlertCounts counts{};

  bool wantsRows() noexcept override { return feed.isFollowed() || counts.areWanted(); }
  void noteCommit(std::uint64_t count, std::span<const ChangedRow> rows) noexcept override {
    if (counts.areWanted()) counts.add(rows);
    feed.add(count, rows);
  }
};

}  // namespace velto
