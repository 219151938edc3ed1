// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "daemon/ChangeFeed.h"
#include "platform/connection/EventSource.h"

namespace velto {

/// The timer at whose end the followers of a feed are told what has come. It is only set while
/// there is something to tell.
class FeedPacer : public EventSource {
 public:
  /// One for a feed, which outlives it.
  explicit FeedPacer(ChangeFeed& feed);
  ~FeedPacer() override;

  Event serve() noexcept override;

 private:
  ChangeFeed& feed_;
};

}  // namespace velto
